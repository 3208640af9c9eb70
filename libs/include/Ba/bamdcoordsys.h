// Where a body of a model document stands: a translation and three angles in its parent's system.
#pragma once

#include <array>
#include <iosfwd>

#include "Bt/array.h"

class BaMDSource;

// Angles are in the angle unit of the document and indexed by axis (X, Y, Z). The rotation order
// names the axes as a decomposition sequence does: 1 is X, 2 is Y, 3 is Z, -1 is not set.
class BaMDCoordSys {
 public:
  [[nodiscard]] const std::array<float, 3>& translation() const { return _translation; }
  [[nodiscard]] const std::array<float, 3>& rotation() const { return _rotation; }
  [[nodiscard]] const std::array<int, 3>& rotationOrder() const { return _rotation_order; }
  void setTranslation(const std::array<float, 3>& translation) { _translation = translation; }
  // Asserts that `vec` has three elements.
  void setRotationVector(const BtFloatArray& vec);
  void setRotation(const std::array<float, 3>& rotation) { _rotation = rotation; }
  void setRotationOrder(const std::array<int, 3>& order) { _rotation_order = order; }

  // Reads the text of a COORDINATE_SYSTEM block; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool printOn(std::ostream& os) const;

  friend bool operator==(const BaMDCoordSys& a, const BaMDCoordSys& b) = default;

 private:
  friend class BaMDSource;

  bool _scanFrom(BaMDSource& source);

  std::array<float, 3> _translation = {-1, -1, -1};
  std::array<float, 3> _rotation = {-1, -1, -1};
  std::array<int, 3> _rotation_order = {-1, -1, -1};
};
