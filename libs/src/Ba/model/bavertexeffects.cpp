#include "Ba/bavertexeffects.h"

#include <limits>
#include <optional>
#include <utility>

#include "Bt/btassert.h"

namespace {

// From this many effects on, a builder looks rivals up instead of walking the chain.
constexpr int kIndexedFrom = 16;

// What an effect flexes toward: the id of a body, or the parent. Others have no rivals.
std::optional<long long> FlexTarget(const Ba_VertexEffect& effect) {
  constexpr long long kParent = std::numeric_limits<long long>::max();
  if (effect.type() == BaFlexEffect) return kParent;
  if (effect.type() != BaFlex2Effect) return std::nullopt;
  return static_cast<const BaVertexFlex2Effect&>(effect).body_id;
}

// The flex2 effect of a chain that follows this body, null for none.
template <class Effect>
Effect* FindFlex2(Effect* effect, int body_id) {
  for (; effect != nullptr; effect = effect->next()) {
    if (effect->type() != BaFlex2Effect) continue;
    if (static_cast<const BaVertexFlex2Effect*>(effect)->body_id == body_id) return effect;
  }
  return nullptr;
}

}  // namespace

void BaVertexEffects::_unshare() {
  const Ba_VertexEffect* shared = _chain.get();
  std::unique_ptr<Ba_VertexEffect> own = shared->cloneBa();
  Ba_VertexEffect* last = own.get();
  while ((shared = shared->next()) != nullptr) {
    last->_next = shared->cloneBa();
    last = last->next();
  }
  _chain = Chain(std::move(own));
}

int BaVertexEffects::count() const {
  int n = 0;
  for (auto* effect = first(); effect != nullptr; effect = effect->next()) ++n;
  return n;
}

void BaVertexEffects::add(std::unique_ptr<Ba_VertexEffect> effect) {
  BaVertexEffectsBuilder(this).add(std::move(effect));
}

void BaVertexEffects::_append(Ba_VertexEffect* last, std::unique_ptr<Ba_VertexEffect> effect) {
  if (last == nullptr) {
    _chain = Chain(std::move(effect));
  } else {
    last->_next = std::move(effect);
  }
}

void BaVertexEffects::changeFlex2BodyId(int old_id, int new_id) {
  if (old_id == new_id || FindFlex2(std::as_const(*this).first(), old_id) == nullptr) return;
  Ba_VertexEffect* const moved = FindFlex2(first(), old_id);
  Ba_VertexEffect* const stays = FindFlex2(first(), new_id);
  static_cast<BaVertexFlex2Effect*>(moved)->body_id = new_id;
  if (stays == nullptr) return;
  stays->_absorb(*moved);
  removeIf([moved](const Ba_VertexEffect& effect) { return &effect == moved; });
}

BaVertexEffectsBuilder::BaVertexEffectsBuilder(BaVertexEffects* effects) : _effects(effects) {
  for (auto* effect = effects->first(); effect != nullptr; effect = effect->next()) {
    _last = effect;
    ++_count;
  }
  if (_count >= kIndexedFrom) _makeIndex();
}

void BaVertexEffectsBuilder::add(std::unique_ptr<Ba_VertexEffect> effect) {
  BtAssert(effect != nullptr);
  if (_absorb(effect.get())) return;
  Ba_VertexEffect* const added = effect.get();
  _effects->_append(_last, std::move(effect));
  _last = added;
  if (++_count == kIndexedFrom) _makeIndex();
}

void BaVertexEffectsBuilder::_makeIndex() {
  for (auto* effect = _effects->first(); effect != nullptr; effect = effect->next()) {
    if (const auto target = FlexTarget(*effect)) _by_target.try_emplace(*target, effect);
  }
}

bool BaVertexEffectsBuilder::_absorb(Ba_VertexEffect* effect) {
  if (_count >= kIndexedFrom) {
    const auto target = FlexTarget(*effect);
    if (!target) return false;
    const auto [entry, is_new] = _by_target.try_emplace(*target, effect);
    return !is_new && entry->second->_absorb(*effect);
  }
  for (auto* there = _effects->first(); there != nullptr; there = there->next()) {
    if (there->_absorb(*effect)) return true;
  }
  return false;
}
