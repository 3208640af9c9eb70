#include "Ba/bavertexelement.h"

#include <algorithm>
#include <ostream>

#include "balegacytext.h"
#include "btclassicios.h"

namespace {

// Counts up to this one are believed before the vertices were seen.
constexpr int kFirstChunk = 64;

}  // namespace

void BaVertexElement::operator delete(BaVertexElement* element, std::destroying_delete_t /*tag*/) {
  const bool in_arena = element->_in_arena;
  element->~BaVertexElement();
  if (!in_arena) ::operator delete(element);
}

void BaVertexElement::changeFlex2BodyId(int old_id, int new_id) {
  BtAssert(isValid(), "isValid()");
  for (BaVertex& vertex : _vertices) vertex.effects().changeFlex2BodyId(old_id, new_id);
}

bool BaVertexElement::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaVertexElement::scanFrom(BtScanner& in) {
  int count = 0;
  return _scanIds(in) && _scanCount(in, "Unable to read the number of vertices.", &count) &&
         _scanVertices(in, count);
}

void BaVertexElement::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  _printHeadOn(os);
  os << '\n';
  _printVerticesOn(os);
}

void BaVertexElement::_printHeadOn(std::ostream& os) const {
  BtAssert(isValid(), "isValid()");
  _printTypeOn(os);
  Ba_PutInt(os, bodyId());
  Ba_PutInt(os, materialId());
  Ba_PutInt(os, numVertices());
}

void BaVertexElement::_resize(int n, BtArena* arena) { _vertices.resizeIn(arena, n); }

bool BaVertexElement::_scanVertexFrom(BaVertex* vertex, int i, std::istream& is) {
  BtScanner in(is);
  return _scanVertexFrom(vertex, i, in);
}

bool BaVertexElement::_scanVertexFrom(BaVertex* vertex, int /*i*/, BtScanner& in) {
  return vertex->scanFrom(in) || BtFail("Unable to read vertex.");
}

void BaVertexElement::_printVertexOn(const BaVertex& vertex, int /*i*/, std::ostream& os) const {
  vertex.printOn(os);
}

bool BaVertexElement::_scanCount(BtScanner& in, const char* message, int* count) {
  return (in.readInt(count) && *count >= 0) || BtFail("%s", message);
}

bool BaVertexElement::_scanVertices(BtScanner& in, int count) {
  if (numVertices() > 0) _resize(0, nullptr);
  for (int i = 0; i < count; ++i) {
    if (i == numVertices()) {
      const long long chunk = std::max(kFirstChunk, i);
      _resize(static_cast<int>(std::min<long long>(count, i + chunk)), in.arena());
    }
    if (!_scanVertexFrom(&_vertices[i], i, in)) return false;
  }
  return true;
}

void BaVertexElement::_printVerticesOn(std::ostream& os) const {
  for (int i = 0; i < numVertices(); ++i) {
    _printVertexOn(_vertices[i], i, os);
    os << '\n';
  }
}
