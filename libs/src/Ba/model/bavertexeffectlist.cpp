// The chain of effects that a vertex has.

#include <utility>

#include "Ba/bavertexeffects.h"
#include "Bt/btassert.h"
#include "Bt/bthash.h"

namespace {

// From this many effects on, a builder looks rivals up instead of walking the chain.
constexpr int kIndexedFrom = 16;

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
  const Ba_VertexEffect* shared = _first;
  --_first->_n_owners;
  std::unique_ptr<Ba_VertexEffect> own = shared->cloneBa();
  Ba_VertexEffect* last = own.get();
  while ((shared = shared->next()) != nullptr) {
    last->_next = shared->cloneBa();
    last = last->next();
  }
  _first = own.release();
}

int BaVertexEffects::count() const {
  int n = 0;
  for (auto* effect = first(); effect != nullptr; effect = effect->next()) ++n;
  return n;
}

void BaVertexEffects::add(std::unique_ptr<Ba_VertexEffect> effect) {
  BtAssert(effect != nullptr);
  Ba_VertexEffect* last = nullptr;
  for (auto* there = first(); there != nullptr; there = there->next()) {
    if (there->_absorb(*effect)) return;
    last = there;
  }
  if (last == nullptr) {
    _first = effect.release();
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

void BaVertexEffects::_release() noexcept {
  Ba_VertexEffect* const first = std::exchange(_first, nullptr);
  if (--first->_n_owners > 0) return;
  // One by one: a chain may be long, and freeing it as a whole would recurse along it.
  std::unique_ptr<Ba_VertexEffect> effect(first);
  while (effect != nullptr) effect = std::exchange(effect->_next, nullptr);
}

// The effects that may have a rival, by what they flex toward.
struct BaVertexEffectsBuilder::Index {
  Ba_VertexEffect* flex = nullptr;
  BtHashMap<int, Ba_VertexEffect*> flex2;

  // The place of the effect that `effect` must not stand beside, null when it may stand anywhere.
  Ba_VertexEffect** placeFor(const Ba_VertexEffect& effect) {
    if (effect.type() == BaFlexEffect) return &flex;
    if (effect.type() != BaFlex2Effect) return nullptr;
    return &flex2[static_cast<const BaVertexFlex2Effect&>(effect).body_id];
  }
};

BaVertexEffectsBuilder::BaVertexEffectsBuilder(BaVertexEffects* effects) : _effects(effects) {
  for (auto* effect = effects->first(); effect != nullptr; effect = effect->next()) {
    _last = effect;
    ++_count;
  }
}

BaVertexEffectsBuilder::~BaVertexEffectsBuilder() = default;

void BaVertexEffectsBuilder::add(std::unique_ptr<Ba_VertexEffect> effect) {
  BtAssert(effect != nullptr);
  if (_count < kIndexedFrom) {
    for (auto* there = _effects->first(); there != nullptr; there = there->next()) {
      if (there->_absorb(*effect)) return;
    }
    _append(std::move(effect));
    return;
  }
  if (_index == nullptr) _makeIndex();
  Ba_VertexEffect** const place = _index->placeFor(*effect);
  if (place != nullptr && *place != nullptr) {
    (*place)->_absorb(*effect);
    return;
  }
  if (place != nullptr) *place = effect.get();
  _append(std::move(effect));
}

void BaVertexEffectsBuilder::_makeIndex() {
  _index = std::make_unique<Index>();
  for (auto* effect = _effects->first(); effect != nullptr; effect = effect->next()) {
    Ba_VertexEffect** const place = _index->placeFor(*effect);
    if (place != nullptr) *place = effect;
  }
}

void BaVertexEffectsBuilder::_append(std::unique_ptr<Ba_VertexEffect> effect) {
  Ba_VertexEffect* const added = effect.get();
  if (_last == nullptr) {
    _effects->_first = effect.release();
  } else {
    _last->_next = std::move(effect);
  }
  _last = added;
  ++_count;
}
