// The chain of effects that a vertex owns.

#include <unordered_map>
#include <utility>

#include "bavertexeffects.h"
#include "btassert.h"

namespace {

// From this many effects on, a builder looks rivals up instead of walking the chain.
constexpr int kIndexedFrom = 16;

}  // namespace

void BaVertexEffects::_copy(const BaVertexEffects& other) {
  std::unique_ptr<Ba_VertexEffect>* end = &_first;
  for (auto* effect = other.first(); effect != nullptr; effect = effect->next()) {
    *end = effect->cloneBa();
    end = &(*end)->_next;
  }
}

int BaVertexEffects::count() const {
  int n = 0;
  for (auto* effect = first(); effect != nullptr; effect = effect->next()) ++n;
  return n;
}

void BaVertexEffects::add(std::unique_ptr<Ba_VertexEffect> effect) {
  BtAssert(effect != nullptr);
  std::unique_ptr<Ba_VertexEffect>* end = &_first;
  for (; *end != nullptr; end = &(*end)->_next) {
    if ((*end)->_absorb(*effect)) return;
  }
  *end = std::move(effect);
}

void BaVertexEffects::changeFlex2BodyId(int old_id, int new_id) {
  const auto follows = [](const Ba_VertexEffect& effect, int id) {
    return effect.type() == BaFlex2Effect &&
           static_cast<const BaVertexFlex2Effect&>(effect).body_id == id;
  };
  std::unique_ptr<Ba_VertexEffect>* moved = nullptr;
  std::unique_ptr<Ba_VertexEffect>* there = nullptr;
  for (std::unique_ptr<Ba_VertexEffect>* link = &_first; *link != nullptr; link = &(*link)->_next) {
    if (follows(**link, old_id)) moved = link;
    if (follows(**link, new_id)) there = link;
  }
  if (moved == nullptr || old_id == new_id) return;
  static_cast<BaVertexFlex2Effect&>(**moved).body_id = new_id;
  if (there == nullptr) return;
  Ba_VertexEffect* const stays = there->get();
  std::unique_ptr<Ba_VertexEffect> merged = std::move(*moved);
  *moved = std::move(merged->_next);
  stays->_absorb(*merged);
}

void BaVertexEffects::_destroy() noexcept {
  // One by one: a chain may be long, and freeing it as a whole would recurse along it.
  while (_first != nullptr) _first = std::exchange(_first->_next, nullptr);
}

// The effects that may have a rival, by what they flex toward.
struct BaVertexEffectsBuilder::Index {
  Ba_VertexEffect* flex = nullptr;
  std::unordered_map<int, Ba_VertexEffect*> flex2;

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
  std::unique_ptr<Ba_VertexEffect>& end = _last == nullptr ? _effects->_first : _last->_next;
  end = std::move(effect);
  _last = end.get();
  ++_count;
}
