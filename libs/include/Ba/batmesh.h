// A triangle mesh: one strip of triangles.
#pragma once

#include "Ba/bavertexelement.h"
#include "Bt/array.h"

// The triangles are the vertices 0 1 2, 1 2 3 and so on. Each vertex has a swap flag, a number that
// is kept as read.
class BaTMesh : public BaVertexElement {
 public:
  BaTMesh() = default;
  BaTMesh(int body_id, int material_id) : BaVertexElement(body_id, material_id) {}

  // One for each vertex.
  [[nodiscard]] const BtDArray<int>& swapFlags() const { return _swap_flags; }
  // Asserts that there is one for each vertex.
  void setSwapFlags(const BtIntArray& flags);
  // Replaces the vertices; all swap flags become 0.
  void setVertices(BtDArray<BaVertex> vertices);

 protected:
  void _resize(int n, BtArena* arena) override;
  using BaVertexElement::_scanVertexFrom;
  bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) override;
  void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const override;
  void _printTypeOn(std::ostream& os) const override;

 private:
  BtDArray<int> _swap_flags;
};
