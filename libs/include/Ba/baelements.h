// The growing array under the element collections of models and bodies.
#pragma once

#include <algorithm>
#include <limits>
#include <utility>

#include "Bt/array.h"

// While elements are added the array grows ahead of their number; trim() gives the rest back.
// `Pointer` says who owns the elements: a unique_ptr in a model, a plain pointer in a body. The
// spare places are not part of the array as its users see it.
template <class Pointer>
class BaElements {
 public:
  [[nodiscard]] int size() const { return _n_added; }
  [[nodiscard]] bool empty() const { return _n_added == 0; }
  const Pointer& operator[](int i) const {
    BtAssert(i < _n_added, "i<_size");
    return _elements[i];
  }
  const Pointer& last() const { return (*this)[_n_added - 1]; }
  const Pointer* begin() const { return _elements.begin(); }
  const Pointer* end() const { return _elements.begin() + _n_added; }

  // Grows by `chunk` elements at least, and by half of what is there once that is more.
  void add(Pointer element, int chunk) {
    if (isTrimmed()) {
      const long long growth = std::max(chunk, _n_added / 2);
      _elements.resize(static_cast<int>(
          std::min<long long>(_n_added + growth, std::numeric_limits<int>::max())));
    }
    _elements[_n_added] = std::move(element);
    ++_n_added;
  }
  // Removes the elements for which `is_gone(element)` holds; the others keep their order.
  template <class IsGone>
  void removeIf(IsGone is_gone) {
    Pointer* const end = _elements.begin() + _n_added;
    Pointer* const kept = std::remove_if(
        _elements.begin(), end, [&is_gone](const Pointer& element) { return is_gone(*element); });
    std::fill(kept, end, nullptr);
    _n_added = static_cast<int>(kept - _elements.begin());
  }
  void trim() { _elements.resize(_n_added); }
  // True when there are no spare places.
  [[nodiscard]] bool isTrimmed() const { return _n_added == _elements.size(); }
  void clear() {
    _n_added = 0;
    _elements.clear();
  }

 private:
  BtDArray<Pointer> _elements;
  int _n_added = 0;
};
