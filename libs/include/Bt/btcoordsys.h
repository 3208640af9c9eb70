// Coordinate systems: where a body stands and how it is turned, as seen from its parent.
#pragma once

#include <array>

#include "Bt/btfloatmat.h"

// `point` as a row vector times `matrix`: rotated and moved.
template <class Real>
[[nodiscard]] std::array<double, 3> BtTransformPoint(const std::array<double, 3>& point,
                                                     const Bt_SquareMat<Real, 4>& matrix) {
  std::array<double, 3> moved;
  for (int c = 0; c < 3; ++c) {
    moved[static_cast<std::size_t>(c)] = point[0] * static_cast<double>(matrix(0, c)) +
                                         point[1] * static_cast<double>(matrix(1, c)) +
                                         point[2] * static_cast<double>(matrix(2, c)) +
                                         static_cast<double>(matrix(3, c));
  }
  return moved;
}

// As BtTransformPoint, for a direction or an offset: rotated, not moved.
template <class Real>
[[nodiscard]] std::array<double, 3> BtTransformDirection(const std::array<double, 3>& direction,
                                                         const Bt_SquareMat<Real, 4>& matrix) {
  std::array<double, 3> turned;
  for (int c = 0; c < 3; ++c) {
    turned[static_cast<std::size_t>(c)] = direction[0] * static_cast<double>(matrix(0, c)) +
                                          direction[1] * static_cast<double>(matrix(1, c)) +
                                          direction[2] * static_cast<double>(matrix(2, c));
  }
  return turned;
}

// A rotation and an origin in one 4x4 matrix: the rows of the upper left 3x3 part are the system's
// axes, row 3 is its origin. A new one coincides with its parent.
class BtCoordSystem {
 public:
  BtCoordSystem() = default;
  explicit BtCoordSystem(const Bt4X4FloatMat& matrix) : _matrix(matrix) {}
  BtCoordSystem(const Bt3X3FloatMat& rotation, const std::array<float, 3>& origin) {
    setRotation(rotation);
    setOrigin(origin);
  }

  [[nodiscard]] const Bt4X4FloatMat& matrix() const { return _matrix; }
  [[nodiscard]] Bt3X3FloatMat rotation() const {
    Bt3X3FloatMat rotation;
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) rotation(row, column) = _matrix(row, column);
    }
    return rotation;
  }
  [[nodiscard]] std::array<float, 3> origin() const {
    return {_matrix(3, 0), _matrix(3, 1), _matrix(3, 2)};
  }
  void setRotation(const Bt3X3FloatMat& rotation) {
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) _matrix(row, column) = rotation(row, column);
    }
  }
  void setOrigin(const std::array<float, 3>& origin) {
    for (int c = 0; c < 3; ++c) _matrix(3, c) = origin[static_cast<std::size_t>(c)];
  }

  // A point given in this system, as the parent sees it.
  [[nodiscard]] std::array<double, 3> transformPoint(const std::array<double, 3>& point) const {
    return BtTransformPoint(point, _matrix);
  }
  [[nodiscard]] std::array<double, 3> transformDirection(
      const std::array<double, 3>& direction) const {
    return BtTransformDirection(direction, _matrix);
  }

  friend bool operator==(const BtCoordSystem& a, const BtCoordSystem& b) = default;
  // The system `a`, given in terms of `b`, as the parent of `b` sees it.
  friend BtCoordSystem operator*(const BtCoordSystem& a, const BtCoordSystem& b) {
    return BtCoordSystem(a._matrix * b._matrix);
  }

 private:
  Bt4X4FloatMat _matrix;
};
