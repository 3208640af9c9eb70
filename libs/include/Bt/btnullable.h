// A value that may be missing.
#pragma once

#include <utility>

#include "Bt/btassert.h"

template <class T>
class BtNullable {
 public:
  BtNullable() = default;  // null
  BtNullable(T data)       // NOLINT(google-explicit-constructor): a value stands for itself
      : _data(std::move(data)), _is_null(false) {}

  [[nodiscard]] bool isNull() const { return _is_null; }
  // The value; asserts that there is one.
  const T& data() const {
    BtAssert(!_is_null, "!_is_null");
    return _data;
  }
  T& data() {
    BtAssert(!_is_null, "!_is_null");
    return _data;
  }
  void setNull() { *this = BtNullable(); }

  // Two nulls are equal.
  friend bool operator==(const BtNullable& a, const BtNullable& b) {
    return a._is_null == b._is_null && (a._is_null || a._data == b._data);
  }

 private:
  T _data{};
  bool _is_null = true;
};
