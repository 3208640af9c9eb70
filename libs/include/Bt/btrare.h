// What few objects of a kind have, apart from them: the others spend a pointer on it.
#pragma once

#include <memory>
#include <utility>

// A T that is made when it is first asked for to be changed. Until then it reads as a new one.
template <class T>
class BtRare {
 public:
  BtRare() = default;
  explicit BtRare(T value) : _value(std::make_unique<T>(std::move(value))) {}
  BtRare(const BtRare& other)
      : _value(other._value == nullptr ? nullptr : std::make_unique<T>(*other._value)) {}
  BtRare(BtRare&& other) noexcept = default;
  ~BtRare() = default;
  BtRare& operator=(BtRare other) noexcept {
    _value.swap(other._value);
    return *this;
  }

  const T* operator->() const { return &**this; }
  const T& operator*() const { return _value == nullptr ? _new : *_value; }
  T& change() {
    if (_value == nullptr) _value = std::make_unique<T>();
    return *_value;
  }

  friend bool operator==(const BtRare& a, const BtRare& b) {
    return (a._value == nullptr && b._value == nullptr) || *a == *b;
  }

 private:
  inline static const T _new{};

  std::unique_ptr<T> _value;
};
