// Small square matrices. Points are row vectors multiplied from the left, so in a * b the transform
// a comes first. Sums are formed in double precision whatever the elements are.
#pragma once

#include "Bt/btassert.h"

// A matrix of N rows and N columns; rows and columns count from 0. A new one is the identity.
template <class Real, int N>
class Bt_SquareMat {
 public:
  Bt_SquareMat() {
    for (int i = 0; i < N; ++i) _elements[i][i] = 1;
  }
  // The same matrix in another precision.
  template <class Other>
  explicit Bt_SquareMat(const Bt_SquareMat<Other, N>& other) {
    for (int row = 0; row < N; ++row) {
      for (int column = 0; column < N; ++column) {
        _elements[row][column] = static_cast<Real>(other(row, column));
      }
    }
  }

  Real& operator()(int row, int column) {
    BtAssert(row >= 0 && row < N && column >= 0 && column < N);
    return _elements[row][column];
  }
  const Real& operator()(int row, int column) const {
    BtAssert(row >= 0 && row < N && column >= 0 && column < N);
    return _elements[row][column];
  }

  friend bool operator==(const Bt_SquareMat& a, const Bt_SquareMat& b) = default;
  friend Bt_SquareMat operator*(const Bt_SquareMat& a, const Bt_SquareMat& b) {
    Bt_SquareMat product;
    for (int row = 0; row < N; ++row) {
      for (int column = 0; column < N; ++column) {
        double sum = 0;
        for (int i = 0; i < N; ++i) {
          sum += static_cast<double>(a._elements[row][i]) *
                 static_cast<double>(b._elements[i][column]);
        }
        product._elements[row][column] = static_cast<Real>(sum);
      }
    }
    return product;
  }

 private:
  static constexpr auto kSize = static_cast<unsigned>(N);
  Real _elements[kSize][kSize] = {};
};

using Bt3X3FloatMat = Bt_SquareMat<float, 3>;
using Bt4X4FloatMat = Bt_SquareMat<float, 4>;
// For long products of transforms, where rounding to float at every step would add up.
using Bt3X3DoubleMat = Bt_SquareMat<double, 3>;
using Bt4X4DoubleMat = Bt_SquareMat<double, 4>;

template <class Real>
[[nodiscard]] double determinant(const Bt_SquareMat<Real, 3>& matrix) {
  const Bt3X3DoubleMat m(matrix);
  return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) -
         m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0)) +
         m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
}

// True when the rows, as axes, form a right-handed system; false for degenerate ones and for NaN.
template <class Real>
[[nodiscard]] bool isRightHanded(const Bt_SquareMat<Real, 3>& matrix) {
  return determinant(matrix) > 0;
}
