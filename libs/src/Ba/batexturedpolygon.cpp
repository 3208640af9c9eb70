#include "batexturedpolygon.h"

#include <ostream>
#include <utility>

#include "balegacytext.h"

void BaTexturedPolygon::setVertices(BtDArray<BaVertex> vertices, BtDArray<BaTextureCoords> tc) {
  BtAssert(tc.size() == vertices.size(), "tc.size()==_n_vertices");
  BaPolygon::setVertices(std::move(vertices));
  _texture_coords = std::move(tc);
}

void BaTexturedPolygon::_resize(int n) {
  BaPolygon::_resize(n);
  _texture_coords.resize(n);
}

bool BaTexturedPolygon::_scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) {
  float uv[2];
  if (!in.readFloats(uv, 2)) {
    Ba_Fail("Unable to read texture coordinates.");
    return Ba_Fail("Unable to read vertex.");
  }
  _texture_coords[i] = {.u = uv[0], .v = uv[1]};
  return BaPolygon::_scanVertexFrom(vertex, i, in);
}

void BaTexturedPolygon::_printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const {
  BtAssert(_texture_coords.size() == numVertices(), "tc.size()==_n_vertices");
  Ba_PutFloats(os, std::array{_texture_coords[i].u, _texture_coords[i].v});
  BaPolygon::_printVertexOn(vertex, i, os);
}

void BaTexturedPolygon::_printTypeOn(std::ostream& os) const { os << (sFlag() != 0 ? "S P" : "P"); }

void BaTexturedPolygon::_moveVertex(int from, int to) {
  BaPolygon::_moveVertex(from, to);
  _texture_coords[to] = _texture_coords[from];
}
