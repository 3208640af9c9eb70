// Arrays between NumPy and the libraries. What goes out is handed over, not copied.
#pragma once

#include <pybind11/numpy.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Bt/btfloatmat.h"
#include "library.h"

// Gives the memory of a vector to an array of this shape.
template <class T>
py::array_t<T> ToArray(std::vector<T> values, std::vector<py::ssize_t> shape) {
  auto owner = std::make_unique<std::vector<T>>(std::move(values));
  T* const data = owner->data();
  const py::capsule base(owner.release(),
                         [](void* vector) { delete static_cast<std::vector<T>*>(vector); });
  return py::array_t<T>(std::move(shape), data, base);
}

template <class T>
py::array_t<T> ToArray(std::vector<T> values) {
  const auto count = static_cast<py::ssize_t>(values.size());
  return ToArray(std::move(values), {count});
}

template <class T>
using InputArray = py::array_t<T, py::array::c_style | py::array::forcecast>;

// Throws unless the array has this shape; -1 stands for any number.
inline void CheckShape(const py::array& array, const std::vector<py::ssize_t>& shape,
                       const char* what) {
  bool fits = array.ndim() == static_cast<py::ssize_t>(shape.size());
  for (std::size_t i = 0; fits && i < shape.size(); ++i) {
    fits = shape[i] < 0 || array.shape(static_cast<py::ssize_t>(i)) == shape[i];
  }
  if (fits) return;
  std::string text;
  for (const py::ssize_t n : shape)
    text += (text.empty() ? "" : ", ") + (n < 0 ? "n" : std::to_string(n));
  throw py::value_error(std::string(what) + " must have the shape (" + text + ")");
}

template <class T>
void CheckFinite(const InputArray<T>& array, const char* what) {
  const T* const data = array.data();
  for (py::ssize_t i = 0; i < array.size(); ++i) {
    if (!std::isfinite(data[i])) {
      throw py::value_error(std::string(what) + " must be finite numbers");
    }
  }
}

// A float that is one: not beyond their range, either.
inline float ToFloat(double number, const char* what) {
  const auto value = static_cast<float>(number);
  if (!std::isfinite(value)) throw py::value_error(std::string(what) + " must be a finite number");
  return value;
}

template <class Real>
py::array_t<Real> ToArray(const Bt_SquareMat<Real, 4>& matrix) {
  std::vector<Real> values;
  values.reserve(16);
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) values.push_back(matrix(row, column));
  }
  return ToArray(std::move(values), {4, 4});
}

// A transform of a body; throws for one that is not affine.
inline Bt4X4FloatMat ToMatrix(const InputArray<float>& array) {
  CheckShape(array, {4, 4}, "a transform");
  CheckFinite(array, "a transform's elements");
  Bt4X4FloatMat matrix;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) matrix(row, column) = array.at(row, column);
    if (matrix(row, 3) != (row == 3 ? 1.0F : 0.0F)) {
      throw py::value_error("the last column of a transform must be 0, 0, 0, 1");
    }
  }
  return matrix;
}
