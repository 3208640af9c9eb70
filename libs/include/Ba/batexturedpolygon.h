// A polygon with texture coordinates at its corners.
#pragma once

#include "Ba/bapolygon.h"
#include "Ba/batexturecoords.h"

class BaTexturedPolygon : public BaPolygon {
 public:
  using BaPolygon::BaPolygon;

  // One for each vertex.
  [[nodiscard]] const BtDArray<BaTextureCoords>& textureCoords() const { return _texture_coords; }
  // Replaces both arrays; asserts that they have the same size.
  void setVertices(BtDArray<BaVertex> vertices, BtDArray<BaTextureCoords> tc);

 protected:
  void _resize(int n, BtArena* arena) override;
  using BaVertexElement::_scanVertexFrom;
  bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) override;
  void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const override;
  void _printTypeOn(std::ostream& os) const override;
  void _moveVertex(int from, int to) override;

 private:
  BtDArray<BaTextureCoords> _texture_coords;
};
