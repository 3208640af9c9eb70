#include "Ba/batexturedtmesh.h"

#include <ostream>
#include <utility>

#include "balegacytext.h"

void BaTexturedTMesh::setVertices(BtDArray<BaVertex> vertices, BtDArray<BaTextureCoords> tc) {
  BtAssert(tc.size() == vertices.size(), "tc.size()==nverts");
  BaTMesh::setVertices(std::move(vertices));
  _texture_coords = std::move(tc);
}

void BaTexturedTMesh::_resize(int n, BtArena* arena) {
  BaTMesh::_resize(n, arena);
  _texture_coords.resizeIn(arena, n);
}

bool BaTexturedTMesh::_scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) {
  float uv[2];
  if (!in.readFloats(uv, 2)) return BtFail("Unable to read texture coordinates.");
  _texture_coords[i] = {.u = uv[0], .v = uv[1]};
  return BaTMesh::_scanVertexFrom(vertex, i, in);
}

void BaTexturedTMesh::_printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const {
  BtAssert(_texture_coords.size() == numVertices(), "tc.size()==nverts");
  Ba_PutFloats(os, std::array{_texture_coords[i].u, _texture_coords[i].v});
  BaTMesh::_printVertexOn(vertex, i, os);
}

void BaTexturedTMesh::_printTypeOn(std::ostream& os) const { os << 't'; }
