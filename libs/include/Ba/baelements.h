// The growing array under the element collections of models and bodies.
#pragma once

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "Bt/btassert.h"

// While elements are added the array grows ahead of their number; trim() gives the rest back.
// `Pointer` says who owns the elements: a unique_ptr in a model, a plain pointer in a body.
template <class Pointer>
class BaElements {
 public:
  [[nodiscard]] int size() const { return static_cast<int>(_elements.size()); }
  [[nodiscard]] bool empty() const { return _elements.empty(); }
  const Pointer& operator[](int i) const {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < size(), "i<_size");
    return _elements[static_cast<std::size_t>(i)];
  }
  const Pointer& last() const { return (*this)[size() - 1]; }
  const Pointer* begin() const { return _elements.data(); }
  const Pointer* end() const { return _elements.data() + _elements.size(); }

  // Grows by `chunk` elements at least, and by half of what is there once that is more.
  void add(Pointer element, int chunk) {
    if (isTrimmed()) {
      BtAssert(_elements.size() < kMaxSize, "_size<INT_MAX");
      const std::size_t growth = std::max(static_cast<std::size_t>(chunk), _elements.size() / 2);
      _elements.reserve(std::min(_elements.size() + growth, kMaxSize));
    }
    _elements.push_back(std::move(element));
  }
  // Removes the elements for which `is_gone(element)` holds; the others keep their order.
  template <class IsGone>
  void removeIf(IsGone is_gone) {
    std::erase_if(_elements, [&is_gone](const Pointer& element) { return is_gone(*element); });
  }
  void trim() { _elements.shrink_to_fit(); }
  // True when there are no spare places.
  [[nodiscard]] bool isTrimmed() const { return _elements.size() == _elements.capacity(); }
  void clear() { _elements = std::vector<Pointer>(); }

 private:
  static constexpr std::size_t kMaxSize = std::numeric_limits<int>::max();

  std::vector<Pointer> _elements;
};
