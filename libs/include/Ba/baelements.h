// The growing array under the element collections of models and bodies.
#pragma once

#include <algorithm>
#include <limits>
#include <utility>

#include "Bt/array.h"

// While elements are added the array grows ahead of their number; trim() gives the rest back.
// `Pointer` says who owns the elements: a unique_ptr in a model, a plain pointer in a body.
template <class Pointer>
class BaElements {
 public:
  [[nodiscard]] int size() const { return _size; }
  [[nodiscard]] bool empty() const { return _size == 0; }
  const Pointer& operator[](int i) const {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < size(), "i<_size");
    return _elements[i];
  }
  const Pointer& last() const { return (*this)[size() - 1]; }
  const Pointer* begin() const { return _elements.begin(); }
  const Pointer* end() const { return _elements.begin() + _size; }

  // Grows by `chunk` elements at least, and by half of what is there once that is more.
  void add(Pointer element, int chunk) {
    if (isTrimmed()) {
      BtAssert(_size < kMaxSize, "_size<INT_MAX");
      _elements.resize(_size + std::min(std::max(chunk, _size / 2), kMaxSize - _size));
    }
    _elements[_size++] = std::move(element);
  }
  // Removes the elements for which `is_gone(element)` holds; the others keep their order.
  template <class IsGone>
  void removeIf(IsGone is_gone) {
    Pointer* const end = _elements.begin() + _size;
    Pointer* const kept_end = std::remove_if(
        _elements.begin(), end, [&is_gone](const Pointer& element) { return is_gone(*element); });
    for (Pointer* gone = kept_end; gone != end; ++gone) *gone = nullptr;
    _size = static_cast<int>(kept_end - _elements.begin());
  }
  // Deletes owned elements from position `first` on, as long as `is_gone(element)` holds, and
  // leaves null in their places. Answers the position behind them.
  template <class IsGone>
  int deleteFrom(int first, IsGone is_gone) {
    while (first < _size && is_gone(*_elements[first])) _elements[first++] = nullptr;
    return first;
  }
  void trim() { _elements.resize(_size); }
  // True when there are no spare places.
  [[nodiscard]] bool isTrimmed() const { return _size == _elements.size(); }
  void clear() {
    _elements.clear();
    _size = 0;
  }

 private:
  static constexpr int kMaxSize = std::numeric_limits<int>::max();

  BtDArray<Pointer> _elements;  // and spare places behind them, which are null
  int _size = 0;
};
