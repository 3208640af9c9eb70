#include "Ba/batexturedpolygon.h"

#include <ostream>
#include <utility>

#include "balegacytext.h"

void BaTexturedPolygon::setVertices(BtDArray<BaVertex> vertices, BtDArray<BaTextureCoords> tc) {
  BtAssert(tc.size() == vertices.size(), "tc.size()==_n_vertices");
  BaPolygon::setVertices(std::move(vertices));
  _texture_coords = std::move(tc);
}

void BaTexturedPolygon::_resize(int n, BtArena* arena) {
  BaPolygon::_resize(n, arena);
  _texture_coords.resizeIn(arena, n);
}

bool BaTexturedPolygon::_scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) {
  // All numbers of the corner in one go: most of a large file is corners.
  float numbers[5];
  const int count = in.readSomeFloats(numbers, 5);
  if (count < 5) {
    BtFail(count < 2 ? "Unable to read texture coordinates." : "Unable to read x,y and z.");
    return BtFail("Unable to read vertex.");
  }
  _texture_coords[i] = {.u = numbers[0], .v = numbers[1]};
  vertex->setPosition(numbers[2], numbers[3], numbers[4]);
  return vertex->scanEffectsFrom(in) || BtFail("Unable to read vertex.");
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
