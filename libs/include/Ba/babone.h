// A bone: a line that stands for a body where it is drawn without its shape.
#pragma once

#include <array>
#include <iosfwd>

#include "Ba/baelement.h"

class BaBone : public BaElement {
 public:
  BaBone() = default;
  BaBone(int body_id, int material_id) : BaElement(body_id, material_id) {}

  // The two ends, in the system of the body.
  [[nodiscard]] const std::array<float, 3>& from() const { return _from; }
  [[nodiscard]] const std::array<float, 3>& to() const { return _to; }
  void setPoints(const std::array<float, 3>& from, const std::array<float, 3>& to) {
    _from = from;
    _to = to;
  }

  // Reads what follows the record letter; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  void printOn(std::ostream& os) const;

 private:
  std::array<float, 3> _from = {};
  std::array<float, 3> _to = {};
};
