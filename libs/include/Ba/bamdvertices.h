// A vertex set of a model document: the points that a geometry refers to, and what moves them.
#pragma once

#include <iosfwd>
#include <memory>

#include "Ba/bakey.h"
#include "Ba/bamdpoint.h"
#include "Ba/bamdvertexeffects.h"
#include "Bt/array.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;

class BaMDVertices {
 public:
  BaMDVertices() = default;
  BaMDVertices(const BaMDVertices&) = delete;
  BaMDVertices& operator=(const BaMDVertices&) = delete;
  ~BaMDVertices();

  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  // Asserts that nothing owns the set, which is looked up by its name.
  void setName(const BtStr& name) { _name.set(name); }
  // In the system of the body whose geometry uses the set; index i of the document is element i
  // - 1.
  [[nodiscard]] const BtDArray<BaMDPoint>& coordinates() const { return _coordinates; }
  void setCoordinates(BtDArray<BaMDPoint> points) { _coordinates = std::move(points); }
  // Owned by the set.
  [[nodiscard]] const BtList<BaMDVertexEffects*>& effects() const { return _effects; }
  BaMDVertexEffects* addEffects(std::unique_ptr<BaMDVertexEffects> effects);

  // Reads the text of a VERTICES block; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BaMDSource& source);
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaModelData;

  BaKey<BtStr> _name;
  BtDArray<BaMDPoint> _coordinates;
  BtList<BaMDVertexEffects*> _effects;
};
