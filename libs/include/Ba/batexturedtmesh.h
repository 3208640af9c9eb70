// A triangle mesh with texture coordinates at its vertices.
#pragma once

#include "Ba/batexturecoords.h"
#include "Ba/batmesh.h"

class BaTexturedTMesh : public BaTMesh {
 public:
  using BaTMesh::BaTMesh;

  // One for each vertex.
  [[nodiscard]] const BtDArray<BaTextureCoords>& textureCoords() const { return _texture_coords; }
  // Replaces both arrays; asserts that they have the same size. All swap flags become 0.
  void setVertices(BtDArray<BaVertex> vertices, BtDArray<BaTextureCoords> tc);

 protected:
  void _resize(int n, BtArena* arena) override;
  using BaVertexElement::_scanVertexFrom;
  bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) override;
  void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const override;
  void _printTypeOn(std::ostream& os) const override;

 private:
  BtDArray<BaTextureCoords> _texture_coords;
};
