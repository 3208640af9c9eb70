// What changes a vertex besides the body that it is defined on: bulges, morphs, flexing toward
// other bodies, blending by sliders.
#pragma once

#include <array>
#include <iosfwd>
#include <memory>

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
  virtual ~Ba_VertexEffect();
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

  // Of the first effect of a chain: how many vertices have the chain. BtNumbered counts them.
  [[nodiscard]] int refCount() const { return _ref_count; }
  void incRefCount() { ++_ref_count; }
  int decRefCount() { return --_ref_count; }

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
  int _ref_count = 1;
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
