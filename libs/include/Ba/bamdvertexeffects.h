// What moves the vertices of a set besides the body that they are defined on: another body (flex)
// or a slider (blend).
#pragma once

#include <iosfwd>
#include <utility>

#include "Bt/array.h"
#include "Bt/btstr.h"

class BaMDSource;

enum class BaMDVertexEffects_t { Flex, Blend };

class BaMDFlexVEffects;
class BaMDBlendVEffects;

// The base of both kinds: one target and an entry for each vertex that follows it. Vertex indices
// are 1-based in the set that owns the effects; a vertex may occur more than once.
class BaMDVertexEffects {
 public:
  virtual ~BaMDVertexEffects() = default;
  BaMDVertexEffects(const BaMDVertexEffects&) = delete;
  BaMDVertexEffects& operator=(const BaMDVertexEffects&) = delete;

  [[nodiscard]] virtual BaMDVertexEffects_t type() const = 0;
  // This object as what it is; null when it is of the other kind.
  [[nodiscard]] virtual const BaMDFlexVEffects* asFlex() const { return nullptr; }
  [[nodiscard]] virtual const BaMDBlendVEffects* asBlend() const { return nullptr; }

  // Reads the text of the effect's block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the block; asserts that the target is set and that there are entries.
  virtual bool printOn(std::ostream& os) const = 0;

 protected:
  BaMDVertexEffects() = default;

 private:
  friend class BaMDSource;

  virtual bool _scanFrom(BaMDSource& source) = 0;
};

// Vertices that follow another body with a weight each.
class BaMDFlexVEffects : public BaMDVertexEffects {
 public:
  struct Weight {
    float weight;
    int vertex;  // 1-based

    friend bool operator==(const Weight& a, const Weight& b) = default;
  };

  [[nodiscard]] BaMDVertexEffects_t type() const override { return BaMDVertexEffects_t::Flex; }
  [[nodiscard]] const BaMDFlexVEffects* asFlex() const override { return this; }

  // The body that the vertices flex toward.
  [[nodiscard]] const BtStr& bodyName() const { return _body_name; }
  void setBodyName(const BtStr& name) { _body_name = name; }
  [[nodiscard]] const BtDArray<Weight>& weights() const { return _weights; }
  void setWeights(BtDArray<Weight> weights) { _weights = std::move(weights); }

  bool printOn(std::ostream& os) const override;

 private:
  bool _scanFrom(BaMDSource& source) override;

  BtStr _body_name;
  BtDArray<Weight> _weights;
};

// Vertices that a slider moves, each by an offset of its own at the slider's full value.
class BaMDBlendVEffects : public BaMDVertexEffects {
 public:
  struct Vector {
    float v[3];
    int vertex;  // 1-based

    friend bool operator==(const Vector& a, const Vector& b) = default;
  };

  [[nodiscard]] BaMDVertexEffects_t type() const override { return BaMDVertexEffects_t::Blend; }
  [[nodiscard]] const BaMDBlendVEffects* asBlend() const override { return this; }

  [[nodiscard]] const BtStr& sliderGroup() const { return _slider_group; }
  void setSliderGroup(const BtStr& name) { _slider_group = name; }
  [[nodiscard]] const BtStr& sliderName() const { return _slider_name; }
  void setSliderName(const BtStr& name) { _slider_name = name; }
  [[nodiscard]] const BtDArray<Vector>& vectors() const { return _vectors; }
  void setVectors(BtDArray<Vector> vectors) { _vectors = std::move(vectors); }

  bool printOn(std::ostream& os) const override;

 private:
  bool _scanFrom(BaMDSource& source) override;

  BtStr _slider_group;
  BtStr _slider_name;
  BtDArray<Vector> _vectors;
};
