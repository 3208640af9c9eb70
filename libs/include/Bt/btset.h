// The ordered set of the toolkit: elements are unique and walked in the order of the comparison F.
#pragma once

#include <functional>
#include <initializer_list>
#include <set>
#include <utility>

#include "Bt/btassert.h"
#include "Bt/btstr.h"

template <class T, class F = std::less<T>>
class BtSet {
 public:
  using ConstIterator = typename std::set<T, F>::const_iterator;

  BtSet() = default;
  BtSet(std::initializer_list<T> elements) : _set(elements) {}

  [[nodiscard]] int count() const { return SizeTToInt(_set.size()); }
  [[nodiscard]] bool empty() const { return _set.empty(); }
  [[nodiscard]] bool contains(const T& element) const { return _set.find(element) != _set.end(); }
  // False when the element is present already.
  bool insert(T element) { return _set.insert(std::move(element)).second; }
  // Removes an element that must be present.
  void remove(const T& element) {
    const auto count = _set.erase(element);
    BtAssert(count == 1, "count==1");
  }
  void clear() { _set.clear(); }

  ConstIterator begin() const { return _set.begin(); }
  ConstIterator end() const { return _set.end(); }

  friend bool operator==(const BtSet& a, const BtSet& b) { return a._set == b._set; }

 private:
  std::set<T, F> _set;
};
