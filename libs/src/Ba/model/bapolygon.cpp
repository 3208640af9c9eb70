#include "Ba/bapolygon.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "Bt/btexcept.h"

namespace {

// Fewer vertices have no face.
constexpr int kMinVertices = 3;

// Warnings may come by the million; all records of one share its text.
void WarnOfDuplicate() {
  static const BtStr text("Duplicate vertex removed in polygon.");
  BtWarn(BtCode("vertex-duplicate"), text);
}

void WarnOfDegeneration() {
  static const BtStr text("Degnerate polygon in model.");
  BtWarn(BtCode("polygon-degenerate"), text);
}

}  // namespace

void BaPolygon::setVertices(BtDArray<BaVertex> vertices) { _vertices = std::move(vertices); }

bool BaPolygon::repeatsVertex() const {
  return std::adjacent_find(_vertices.begin(), _vertices.end()) != _vertices.end() ||
         (numVertices() > 1 && _vertices[0] == _vertices.last());
}

bool BaPolygon::frontFacing() const {
  BtAssert(isValid(), "isValid()");
  // Twice the area of the polygon's shadow on the x-y plane, signed by its sense.
  double area = 0;
  for (int i = 0; i < numVertices(); ++i) {
    const float* a = _vertices[i].position();
    const float* b = _vertices[i + 1 < numVertices() ? i + 1 : 0].position();
    area += static_cast<double>(a[0]) * static_cast<double>(b[1]) -
            static_cast<double>(b[0]) * static_cast<double>(a[1]);
  }
  return area > 0;
}

bool BaPolygon::scanFrom(BtScanner& in) {
  if (!BaVertexElement::scanFrom(in)) return false;
  _removeDuplicates();
  if (numVertices() < kMinVertices) WarnOfDegeneration();
  return true;
}

void BaPolygon::_printTypeOn(std::ostream& os) const { os << 'F'; }

void BaPolygon::_moveVertex(int from, int to) { _vertices[to] = std::move(_vertices[from]); }

void BaPolygon::_removeDuplicates() {
  if (!repeatsVertex()) return;
  int kept = 0;
  for (int i = 0; i < numVertices(); ++i) {
    if (kept > 0 && _vertices[i] == _vertices[kept - 1]) {
      WarnOfDuplicate();
      continue;
    }
    if (kept != i) _moveVertex(i, kept);
    ++kept;
  }
  if (kept > 1 && _vertices[kept - 1] == _vertices[0]) {
    WarnOfDuplicate();
    --kept;
  }
  if (kept != numVertices()) _resize(kept, nullptr);
}

void CheckVertices(const BaPolygon& polygon) {
  BtAssert(polygon.isValid(), "polygon.isValid()");
  const BaVertex* p1 = nullptr;
  for (const BaVertex& vertex : polygon.vertices()) {
    const BaVertex* const p2 = &vertex;
    BtAssert(p1 != p2, "p1!=p2");
    p1 = p2;
  }
}
