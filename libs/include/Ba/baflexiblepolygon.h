// A polygon between two bodies.
#pragma once

#include "Ba/bavertexelement.h"
#include "Bt/array.h"

// Each vertex has a mode, a number that is kept as read.
class BaFlexiblePolygon : public BaVertexElement {
 public:
  BaFlexiblePolygon() = default;
  BaFlexiblePolygon(int body_id, int material_id, int other_body_id)
      : BaVertexElement(body_id, material_id), _other_body_id(other_body_id) {}

  [[nodiscard]] int otherBodyId() const { return _other_body_id; }
  void setOtherBodyId(int id) { _other_body_id = id; }
  // One for each vertex.
  [[nodiscard]] const BtDArray<int>& modes() const { return _modes; }
  // Replaces both; asserts that there is a mode for each vertex.
  void setVertices(BtDArray<BaVertex> vertices, BtIntArray modes);

  using BaVertexElement::scanFrom;
  bool scanFrom(BtScanner& in) override;
  void printOn(std::ostream& os) const override;

 protected:
  void _resize(int n, BtArena* arena) override;
  using BaVertexElement::_scanVertexFrom;
  bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in) override;
  void _printTypeOn(std::ostream& os) const override;
  void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const override;

 private:
  bool _scanModeAndVertex(BaVertex* vertex, int i, BtScanner& in);

  int _other_body_id = -1;
  BtDArray<int> _modes;
};
