// A vertex set of a model document: the points that a geometry refers to, and what moves them.
#pragma once

#include <iosfwd>
#include <memory>

#include "Ba/bakey.h"
#include "Ba/bamdvertexeffects.h"
#include "Bt/array.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;

// A point or an offset, in the length unit of the document.
struct BaMDPoint {
  float x = 0;
  float y = 0;
  float z = 0;

  friend bool operator==(const BaMDPoint& a, const BaMDPoint& b) = default;
};

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
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaMDSource;
  friend class BaModelData;

  bool _scanFrom(BaMDSource& source);

  BaKey<BtStr> _name;
  BtDArray<BaMDPoint> _coordinates;
  BtList<BaMDVertexEffects*> _effects;
};
