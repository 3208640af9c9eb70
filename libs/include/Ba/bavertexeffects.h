// The effects that a vertex has. Most vertices have none.
#pragma once

#include <memory>
#include <utility>

#include "Ba/bavertexeffect.h"
#include "Bt/bthash.h"
#include "Bt/btnumbered.h"

// The effects of one vertex, in the order in which they were added: one number of four bytes.
// Copies share the effects; the one that is changed gets effects of its own first.
class BaVertexEffects {
 public:
  [[nodiscard]] bool empty() const { return _chain.get() == nullptr; }
  [[nodiscard]] int count() const;
  // Walk with `for (auto* effect = effects.first(); effect != nullptr; effect = effect->next())`.
  // To change an effect is to change it for copies that are made afterwards, too.
  [[nodiscard]] const Ba_VertexEffect* first() const { return _chain.get(); }
  [[nodiscard]] Ba_VertexEffect* first() {
    if (nOwners() > 1) _unshare();
    return _chain.get();
  }
  // How many vertices share the effects, this one included; 0 without effects.
  [[nodiscard]] int nOwners() const { return _chain.nOwners(); }

  // Appends an effect. There is one flex effect at most, and one flex2 effect for each other body:
  // the weight of a further one is added to the one that stands.
  void add(std::unique_ptr<Ba_VertexEffect> effect);
  // Lets flex2 effects toward body `old_id` follow `new_id` instead, with the same rule.
  void changeFlex2BodyId(int old_id, int new_id);
  // Removes the effects for which `is_gone(effect)` holds.
  template <class IsGone>
  void removeIf(IsGone is_gone);
  void clear() { *this = BaVertexEffects(); }

 private:
  friend class BaVertexEffectsBuilder;
  using Chain = BtNumbered<Ba_VertexEffect>;

  // Gives effects that are shared to this vertex alone, as copies.
  void _unshare();
  // Appends an effect behind `last`, the last one or null for none.
  void _append(Ba_VertexEffect* last, std::unique_ptr<Ba_VertexEffect> effect);

  Chain _chain;
};

template <class IsGone>
void BaVertexEffects::removeIf(IsGone is_gone) {
  const Ba_VertexEffect* gone = _chain.get();
  while (gone != nullptr && !is_gone(*gone)) gone = gone->next();
  if (gone == nullptr) return;
  if (nOwners() > 1) _unshare();
  while (!empty() && is_gone(std::as_const(*_chain))) _chain = Chain(std::move(_chain->_next));
  for (Ba_VertexEffect* kept = _chain.get(); kept != nullptr && kept->next() != nullptr;) {
    if (is_gone(std::as_const(*kept->_next))) {
      kept->_next = std::move(kept->_next->_next);
    } else {
      kept = kept->next();
    }
  }
}

// Adds many effects to one vertex, by the rule of BaVertexEffects::add, without walking those that
// are there for each of them.
class BaVertexEffectsBuilder {
 public:
  explicit BaVertexEffectsBuilder(BaVertexEffects* effects);
  BaVertexEffectsBuilder(const BaVertexEffectsBuilder&) = delete;
  BaVertexEffectsBuilder& operator=(const BaVertexEffectsBuilder&) = delete;
  void add(std::unique_ptr<Ba_VertexEffect> effect);

 private:
  void _makeIndex();
  // True where an effect that stands has taken the weight of this one.
  bool _absorb(Ba_VertexEffect* effect);

  BaVertexEffects* _effects;
  Ba_VertexEffect* _last = nullptr;
  int _count = 0;
  // Once there are more than a few: those that may have rivals, by what they flex toward.
  BtHashMap<long long, Ba_VertexEffect*> _by_target;
};
