#include "Fbx/kfbxmath.h"

#include <cmath>
#include <numbers>

#include "Bt/btassert.h"

namespace {

struct SinCos {
  double sin;
  double cos;
};

// Exact at multiples of 90 degrees, so that such a turn keeps zeros and ones in a matrix.
SinCos SinCosOf(double degrees) {
  const double turn = std::remainder(degrees, 360.0);
  const double quarters = std::nearbyint(turn / 90.0);
  const double radians = (turn - quarters * 90.0) * (std::numbers::pi / 180.0);
  const double s = std::sin(radians);
  const double c = std::cos(radians);
  if (quarters == 1.0) return {c, -s};
  if (quarters == -1.0) return {-c, s};
  if (std::fabs(quarters) == 2.0) return {-s, -c};
  return {s, c};
}

KFbxXMatrix AxisRotation(int axis, double degrees) {
  const SinCos turn = SinCosOf(degrees);
  const int next = (axis + 1) % 3;
  const int last = (axis + 2) % 3;
  KFbxXMatrix matrix;
  matrix.Set(next, next, turn.cos);
  matrix.Set(next, last, turn.sin);
  matrix.Set(last, next, -turn.sin);
  matrix.Set(last, last, turn.cos);
  return matrix;
}

// The axes of each rotation order, the one applied first in front.
constexpr int kAxes[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}};

}  // namespace

KFbxXMatrix KFbxXMatrix::Translation(const KFbxVector4& t) {
  KFbxXMatrix matrix;
  for (int i = 0; i < 3; ++i) matrix.Set(3, i, t[i]);
  return matrix;
}

KFbxXMatrix KFbxXMatrix::Rotation(const KFbxVector4& degrees, EFbxRotationOrder order) {
  KFbxXMatrix matrix;
  for (const int axis : kAxes[order]) {
    if (degrees[axis] != 0.0) matrix = AxisRotation(axis, degrees[axis]) * matrix;
  }
  return matrix;
}

KFbxXMatrix KFbxXMatrix::Scaling(const KFbxVector4& s) {
  KFbxXMatrix matrix;
  for (int i = 0; i < 3; ++i) matrix.Set(i, i, s[i]);
  return matrix;
}

std::array<double, 16> KFbxXMatrix::Values() const {
  const auto& v = _values;
  return {v[0], v[1], v[2], 0, v[3], v[4], v[5], 0, v[6], v[7], v[8], 0, v[9], v[10], v[11], 1};
}

KFbxXMatrix operator*(const KFbxXMatrix& a, const KFbxXMatrix& b) {
  KFbxXMatrix product;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 3; ++column) {
      double sum = row == 3 ? a.Get(3, column) : 0.0;
      for (int i = 0; i < 3; ++i) sum += b.Get(row, i) * a.Get(i, column);
      product.Set(row, column, sum);
    }
  }
  return product;
}

KFbxVector4 KFbxXMatrix::MultR(const KFbxVector4& direction) const {
  KFbxVector4 image(0, 0, 0);
  for (int column = 0; column < 3; ++column) {
    for (int i = 0; i < 3; ++i) image[column] += direction[i] * Get(i, column);
  }
  return image;
}

KFbxVector4 KFbxXMatrix::MultRBack(const KFbxVector4& direction) const {
  KFbxVector4 image(0, 0, 0);
  for (int row = 0; row < 3; ++row) {
    for (int i = 0; i < 3; ++i) image[row] += direction[i] * Get(row, i);
  }
  return image;
}

KFbxVector4 KFbxXMatrix::MultT(const KFbxVector4& point) const {
  KFbxVector4 image = GetT();
  for (int column = 0; column < 3; ++column) {
    for (int i = 0; i < 3; ++i) image[column] += point[i] * Get(i, column);
  }
  return image;
}

KFbxXMatrix KFbxXMatrix::Inverse() const {
  // Cofactors of the 3x3 part; indices beyond 2 wrap around, which carries the signs.
  const auto cofactor = [this](int row, int column) {
    const int r1 = (row + 1) % 3;
    const int r2 = (row + 2) % 3;
    const int c1 = (column + 1) % 3;
    const int c2 = (column + 2) % 3;
    return Get(r1, c1) * Get(r2, c2) - Get(r1, c2) * Get(r2, c1);
  };
  const double determinant =
      Get(0, 0) * cofactor(0, 0) + Get(0, 1) * cofactor(0, 1) + Get(0, 2) * cofactor(0, 2);
  BtAssert(determinant != 0.0);
  KFbxXMatrix inverse;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      inverse.Set(row, column, cofactor(column, row) / determinant);
    }
  }
  const KFbxVector4 moved = inverse.MultR(GetT());
  for (int column = 0; column < 3; ++column) inverse.Set(3, column, -moved[column]);
  return inverse;
}
