#include "Ba/batmesh.h"

#include <ostream>
#include <utility>

#include "balegacytext.h"

void BaTMesh::setVertices(BtDArray<BaVertex> vertices) {
  _vertices = std::move(vertices);
  _swap_flags.clear();
  _swap_flags.resize(numVertices());
}

void BaTMesh::setSwapFlags(const BtIntArray& flags) {
  BtAssert(flags.size() == numVertices(), "flags.size()==nverts");
  _swap_flags = flags;
}

void BaTMesh::_resize(int n, BtArena* arena) {
  BaVertexElement::_resize(n, arena);
  _swap_flags.resizeIn(arena, n);
}

bool BaTMesh::_scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) {
  if (!in.readInt(&_swap_flags[i])) return BtFail("Unable to read swap flag.");
  return BaVertexElement::_scanVertexFrom(vertex, i, in);
}

void BaTMesh::_printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const {
  Ba_PutInt(os, _swap_flags[i]);
  vertex.printOn(os);
}

void BaTMesh::_printTypeOn(std::ostream& os) const { os << 'T'; }
