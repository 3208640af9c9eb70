// What changes a vertex besides the body that it is defined on: bulges, morphs, flexing toward
// other bodies, blending by sliders. A vertex has a chain of effects, which copies of the vertex
// share until one is changed; most vertices have none.
#pragma once

#include <array>
#include <iosfwd>
#include <memory>
#include <utility>

#include "Bt/btstr.h"

class BtScanner;

// The numbers that name the effects in legacy files. Blend effects have no legacy form: their
// number only tells them apart.
enum Ba_VertexEffect_t {
  BaBulgeEffect = 0,
  BaMorphL1V2Effect = 1,
  BaFlexEffect = 2,
  BaFlex2Effect = 3,
  BaBlendEffect = 4
};

// The base of all effects.
class Ba_VertexEffect {
 public:
  virtual ~Ba_VertexEffect() = default;
  Ba_VertexEffect& operator=(const Ba_VertexEffect&) = delete;

  [[nodiscard]] virtual Ba_VertexEffect_t type() const = 0;
  // Reads the values that follow the effect's number; false after a recorded error.
  // The first form reads through the second, which is what models are read with.
  virtual bool scanFrom(std::istream& is);
  virtual bool scanFrom(BtScanner& in) = 0;
  // Writes the number and the values, each after a blank; nothing for an effect without legacy
  // form.
  virtual void printOn(std::ostream& os) const = 0;
  [[nodiscard]] virtual std::unique_ptr<Ba_VertexEffect> cloneBa() const = 0;
  // The effect that follows in the vertex, null at the end.
  [[nodiscard]] const Ba_VertexEffect* next() const { return _next.get(); }
  [[nodiscard]] Ba_VertexEffect* next() { return _next.get(); }

  // A new effect of a legacy number, null for a number that names none.
  [[nodiscard]] static std::unique_ptr<Ba_VertexEffect> create(int type);

 protected:
  Ba_VertexEffect() = default;
  Ba_VertexEffect(const Ba_VertexEffect&) {}  // a copy stands alone

 private:
  friend class BaVertexEffects;
  friend class BaVertexEffectsBuilder;
  // Adds the weight of an effect that must not stand beside this one; false where both may stand.
  virtual bool _absorb(const Ba_VertexEffect& other);

  std::unique_ptr<Ba_VertexEffect> _next;
  int _n_owners = 1;  // of the first effect of a chain: how many vertices have the chain
};

class BaVertexBulgeEffect : public Ba_VertexEffect {
 public:
  [[nodiscard]] Ba_VertexEffect_t type() const override { return BaBulgeEffect; }
  using Ba_VertexEffect::scanFrom;
  bool scanFrom(BtScanner& in) override;
  void printOn(std::ostream& os) const override;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> cloneBa() const override;

  std::array<float, 3> bo = {};
  std::array<float, 3> bc = {};
  float br = 0;
  float vn = 0;
  float fv = 0;
};

class BaVertexMorphL1V2Effect : public Ba_VertexEffect {
 public:
  [[nodiscard]] Ba_VertexEffect_t type() const override { return BaMorphL1V2Effect; }
  using Ba_VertexEffect::scanFrom;
  bool scanFrom(BtScanner& in) override;
  void printOn(std::ostream& os) const override;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> cloneBa() const override;

  std::array<float, 3> op = {};
  float vn = 0;
  float lv = 0;
  float uv = 0;
};

// The vertex follows the parent of its body with this weight.
class BaVertexFlexEffect : public Ba_VertexEffect {
 public:
  explicit BaVertexFlexEffect(float w = 0) : weight(w) {}
  [[nodiscard]] Ba_VertexEffect_t type() const override { return BaFlexEffect; }
  using Ba_VertexEffect::scanFrom;
  bool scanFrom(BtScanner& in) override;
  void printOn(std::ostream& os) const override;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> cloneBa() const override;

  float weight;

 private:
  bool _absorb(const Ba_VertexEffect& other) override;
};

// The vertex follows another body, given by its id, with this weight.
class BaVertexFlex2Effect : public Ba_VertexEffect {
 public:
  explicit BaVertexFlex2Effect(float w = 0, int other_body_id = -1)
      : weight(w), body_id(other_body_id) {}
  [[nodiscard]] Ba_VertexEffect_t type() const override { return BaFlex2Effect; }
  using Ba_VertexEffect::scanFrom;
  bool scanFrom(BtScanner& in) override;
  void printOn(std::ostream& os) const override;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> cloneBa() const override;

  float weight;
  int body_id;

 private:
  bool _absorb(const Ba_VertexEffect& other) override;
};

// A slider moves the vertex by this offset at its full value. Document models only.
class BaVertexBlendEffect : public Ba_VertexEffect {
 public:
  [[nodiscard]] Ba_VertexEffect_t type() const override { return BaBlendEffect; }
  using Ba_VertexEffect::scanFrom;
  bool scanFrom(BtScanner& in) override;  // fails: there is no legacy form
  void printOn(std::ostream& os) const override;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> cloneBa() const override;

  BtStr slider_group;
  BtStr slider_name;
  std::array<float, 3> offset = {};
};

// The effects of one vertex, in the order in which they were added: one pointer, null for none.
// Copies share the effects; the one that is changed gets effects of its own first. What is done
// with millions of vertices is inline, for those that have none.
class BaVertexEffects {
 public:
  BaVertexEffects() = default;
  BaVertexEffects(const BaVertexEffects& other) : _first(other._first) {
    if (!empty()) ++_first->_n_owners;
  }
  BaVertexEffects(BaVertexEffects&& other) noexcept
      : _first(std::exchange(other._first, nullptr)) {}
  BaVertexEffects& operator=(const BaVertexEffects& other) {
    if (this == &other) return *this;
    clear();
    _first = other._first;
    if (!empty()) ++_first->_n_owners;
    return *this;
  }
  BaVertexEffects& operator=(BaVertexEffects&& other) noexcept {
    std::swap(_first, other._first);
    return *this;
  }
  ~BaVertexEffects() { clear(); }

  [[nodiscard]] bool empty() const { return _first == nullptr; }
  [[nodiscard]] int count() const;
  // Walk with `for (auto* effect = effects.first(); effect != nullptr; effect = effect->next())`.
  // To change an effect is to change it for copies that are made afterwards, too.
  [[nodiscard]] const Ba_VertexEffect* first() const { return _first; }
  [[nodiscard]] Ba_VertexEffect* first() {
    if (nOwners() > 1) _unshare();
    return _first;
  }
  // How many vertices share the effects, this one included; 0 without effects.
  [[nodiscard]] int nOwners() const { return empty() ? 0 : _first->_n_owners; }

  // Appends an effect. There is one flex effect at most, and one flex2 effect for each other body:
  // the weight of a further one is added to the one that stands.
  void add(std::unique_ptr<Ba_VertexEffect> effect);
  // Lets flex2 effects toward body `old_id` follow `new_id` instead, with the same rule.
  void changeFlex2BodyId(int old_id, int new_id);
  // Removes the effects for which `is_gone(effect)` holds.
  template <class IsGone>
  void removeIf(IsGone is_gone);
  void clear() noexcept {
    if (!empty()) _release();
  }

 private:
  friend class BaVertexEffectsBuilder;

  // Gives effects that are shared to this vertex alone, as copies.
  void _unshare();
  // Leaves the effects to those who share them; the last one destroys them.
  void _release() noexcept;

  Ba_VertexEffect* _first = nullptr;
};

template <class IsGone>
void BaVertexEffects::removeIf(IsGone is_gone) {
  const Ba_VertexEffect* gone = _first;
  while (gone != nullptr && !is_gone(*gone)) gone = gone->next();
  if (gone == nullptr) return;
  std::unique_ptr<Ba_VertexEffect> chain(first());
  std::unique_ptr<Ba_VertexEffect>* link = &chain;
  while (*link != nullptr) {
    if (is_gone(std::as_const(**link))) {
      *link = std::move((*link)->_next);
    } else {
      link = &(*link)->_next;
    }
  }
  _first = chain.release();
}

// Adds many effects to one vertex, by the rule of BaVertexEffects::add, without walking those that
// are there for each of them.
class BaVertexEffectsBuilder {
 public:
  explicit BaVertexEffectsBuilder(BaVertexEffects* effects);
  BaVertexEffectsBuilder(const BaVertexEffectsBuilder&) = delete;
  BaVertexEffectsBuilder& operator=(const BaVertexEffectsBuilder&) = delete;
  ~BaVertexEffectsBuilder();
  void add(std::unique_ptr<Ba_VertexEffect> effect);

 private:
  struct Index;

  void _makeIndex();
  void _append(std::unique_ptr<Ba_VertexEffect> effect);

  BaVertexEffects* _effects;
  Ba_VertexEffect* _last = nullptr;
  int _count = 0;
  std::unique_ptr<Index> _index;  // once there are more than a few
};
