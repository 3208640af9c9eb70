// A polygon without texture coordinates.
#pragma once

#include "Ba/bavertexelement.h"

// The vertices run around the polygon; the last is joined to the first.
class BaPolygon : public BaVertexElement {
 public:
  BaPolygon() = default;
  BaPolygon(int body_id, int material_id) : BaVertexElement(body_id, material_id) {}

  void setVertices(BtDArray<BaVertex> vertices);
  // The number that came as the prefix S of the record, 1 where it stood there. It is kept and
  // written back for textured polygons.
  [[nodiscard]] int sFlag() const { return _s_flag; }
  void setSFlag(int flag) { _s_flag = flag; }
  // True when a vertex is at the place of the one before it, or the first at that of the last.
  // Reading removes such vertices, and a document does not hold them.
  [[nodiscard]] bool repeatsVertex() const;
  // True when the vertices run counterclockwise as seen from the positive z axis.
  [[nodiscard]] bool frontFacing() const;

  // Reading removes repeated vertices and tells of polygons that have no face, with warnings.
  using BaVertexElement::scanFrom;
  bool scanFrom(BtScanner& in) override;

 protected:
  void _printTypeOn(std::ostream& os) const override;
  // Moves vertex `from` to the place `to` of another.
  virtual void _moveVertex(int from, int to);

 private:
  // Removes every vertex at the place of the one before it, the first one's included.
  void _removeDuplicates();

  int _s_flag = 0;
};

// Asserts that no two vertices of a polygon are the same object.
void CheckVertices(const BaPolygon& polygon);
