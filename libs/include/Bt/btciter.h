// Checked read-only iterators: going on from the end or reading there is an assertion failure.
#pragma once

#include <utility>

#include "Bt/btassert.h"

// Over lists, maps and sets: BtCIter<BtList<int>> it(list).
template <class Container>
class BtCIter {
 public:
  // The container must outlive the iterator.
  explicit BtCIter(const Container& container) : _at(container.begin()), _end(container.end()) {}

  [[nodiscard]] bool atEnd() const { return _at == _end; }
  const auto& data() const {
    BtAssert(!atEnd(), "!atEnd()");
    return *_at;
  }
  void next() {
    BtAssert(!atEnd(), "!atEnd()");
    ++_at;
  }

 private:
  using Position = decltype(std::declval<const Container&>().begin());
  Position _at;
  Position _end;
};

// Over arrays it keeps the index, so that it stays right when the array is resized.
template <class Container>
requires requires(const Container& container) {
  container.size();
  container[0];
}
class BtCIter<Container> {
 public:
  explicit BtCIter(const Container& container) : _container(&container) {}

  [[nodiscard]] bool atEnd() const { return _at >= _container->size(); }
  const auto& data() const {
    BtAssert(!atEnd(), "!atEnd()");
    return (*_container)[_at];
  }
  void next() {
    BtAssert(!atEnd(), "!atEnd()");
    ++_at;
  }

 private:
  const Container* _container;
  int _at = 0;
};
