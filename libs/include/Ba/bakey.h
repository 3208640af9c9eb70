// The names and ids by which an owner finds what it owns.
#pragma once

#include "Bt/btassert.h"

// A value that an owner may have in its lookups. From then on the owner alone changes it, so that
// the lookups stay true; setting the value that is there already does no harm. A copy of the object
// that has the value belongs to nobody.
template <class T>
class BaKey {
 public:
  BaKey() = default;
  explicit BaKey(const T& value) : _value(value) {}
  BaKey(const BaKey& other) : _value(other._value) {}
  BaKey& operator=(const BaKey& other) {
    set(other._value);
    return *this;
  }
  ~BaKey() = default;

  [[nodiscard]] const T& get() const { return _value; }
  // Asserts that the value has no owner or stays the same.
  void set(const T& value) {
    BtAssert(_place == kNobody || value == _value, "!isOwned()");
    _value = value;
  }

  // For the owner, which may note where its lookups have the value.
  void own(int place = 0) { _place = place; }
  [[nodiscard]] int place() const { return _place; }
  void change(const T& value) { _value = value; }

  friend bool operator==(const BaKey& a, const BaKey& b) { return a._value == b._value; }

 private:
  static constexpr int kNobody = -1;

  T _value = T();
  int _place = kNobody;
};
