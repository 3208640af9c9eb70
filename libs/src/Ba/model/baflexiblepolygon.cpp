#include "Ba/baflexiblepolygon.h"

#include <ostream>
#include <utility>

#include "balegacytext.h"
#include "btclassicios.h"

void BaFlexiblePolygon::setVertices(BtDArray<BaVertex> vertices, BtIntArray modes) {
  BtAssert(modes.size() == vertices.size(), "modes.size()==vertices.size()");
  _vertices = std::move(vertices);
  _modes = std::move(modes);
}

bool BaFlexiblePolygon::scanFrom(BtScanner& in) {
  int count = 0;
  if (!_scanIds(in) || !_scanCount(in, "Unable to read number of vertices.", &count)) return false;
  if (!in.readInt(&_other_body_id)) return BtFail("Unable to read other body id.");
  return _scanVertices(in, count);
}

void BaFlexiblePolygon::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  _printHeadOn(os);
  Ba_PutInt(os, _other_body_id);
  os << '\n';
  _printVerticesOn(os);
}

void BaFlexiblePolygon::_resize(int n, BtArena* arena) {
  BaVertexElement::_resize(n, arena);
  _modes.resizeIn(arena, n);
}

bool BaFlexiblePolygon::_scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) {
  return _scanModeAndVertex(vertex, i, in) || BtFail("Unable to read flexible vertex.");
}

bool BaFlexiblePolygon::_scanModeAndVertex(BaVertex* vertex, int i, BtScanner& in) {
  return in.readInt(&_modes[i]) ? vertex->scanFrom(in) : BtFail("Unable to read mode.");
}

void BaFlexiblePolygon::_printTypeOn(std::ostream& os) const { os << "f  "; }

void BaFlexiblePolygon::_printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const {
  Ba_PutInt(os, _modes[i]);
  vertex.printOn(os);
}
