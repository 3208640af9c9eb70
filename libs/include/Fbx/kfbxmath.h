// Vectors and affine matrices of the scene, in double precision.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Bt/btassert.h"

// Four doubles: a point, a set of angles or scales in the first three, or a colour (red, green,
// blue).
class KFbxVector4 {
 public:
  constexpr KFbxVector4() = default;  // 0 0 0 1
  constexpr KFbxVector4(double x, double y, double z, double w = 1.0) : _values{x, y, z, w} {}

  constexpr double& operator[](int i) { return _values[static_cast<std::size_t>(i)]; }
  constexpr double operator[](int i) const { return _values[static_cast<std::size_t>(i)]; }
  friend constexpr bool operator==(const KFbxVector4&, const KFbxVector4&) = default;

 private:
  std::array<double, 4> _values = {0.0, 0.0, 0.0, 1.0};
};

// The order in which the angles about the three axes are applied: the first letter first. The
// values are those of the file.
enum EFbxRotationOrder : std::uint8_t {
  eEULER_XYZ,
  eEULER_XZY,
  eEULER_YZX,
  eEULER_YXZ,
  eEULER_ZXY,
  eEULER_ZYX
};

// An affine matrix of 4x4 doubles: its rows are the images of the X, Y and Z axes, then the
// translation; the last column is 0 0 0 1 and takes no room, for a scene holds several matrices of
// each node.
class KFbxXMatrix {
 public:
  KFbxXMatrix() = default;  // the identity

  [[nodiscard]] static KFbxXMatrix Translation(const KFbxVector4& t);
  // Angles in degrees, indexed by axis and applied in the given order.
  [[nodiscard]] static KFbxXMatrix Rotation(const KFbxVector4& degrees,
                                            EFbxRotationOrder order = eEULER_XYZ);
  [[nodiscard]] static KFbxXMatrix Scaling(const KFbxVector4& s);

  // Rows from 0 to 3 and columns from 0 to 2.
  [[nodiscard]] double Get(int row, int column) const { return _values[At(row, column)]; }
  void Set(int row, int column, double value) { _values[At(row, column)] = value; }
  // All 16 values, row after row, as the file holds them.
  [[nodiscard]] std::array<double, 16> Values() const;

  // The transform that applies `b` first and then `a`: global = parent_global * local.
  friend KFbxXMatrix operator*(const KFbxXMatrix& a, const KFbxXMatrix& b);
  friend bool operator==(const KFbxXMatrix&, const KFbxXMatrix&) = default;
  // The image of a point (MultT) and of a direction (MultR: without the translation).
  [[nodiscard]] KFbxVector4 MultT(const KFbxVector4& point) const;
  [[nodiscard]] KFbxVector4 MultR(const KFbxVector4& direction) const;
  // The direction whose image a rotation makes of `direction`.
  [[nodiscard]] KFbxVector4 MultRBack(const KFbxVector4& direction) const;
  // Asserts that the matrix can be inverted.
  [[nodiscard]] KFbxXMatrix Inverse() const;
  [[nodiscard]] KFbxVector4 GetT() const { return {Get(3, 0), Get(3, 1), Get(3, 2)}; }

 private:
  static constexpr std::size_t At(int row, int column) {
    BtAssert(row >= 0 && row < 4 && column >= 0 && column < 3);
    return static_cast<std::size_t>(row) * 3 + static_cast<std::size_t>(column);
  }

  std::array<double, 12> _values = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
};
