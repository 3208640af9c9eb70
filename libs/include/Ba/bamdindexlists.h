// Many short lists of indices, such as the polygons of a group, kept in two flat arrays: a million
// of them cost no allocation each.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Bt/btassert.h"

// Lists of entries of type T. Positions are 0-based; what the entries mean is their user's affair.
// A list is appended whole or built at the end: push() its entries, then endList() or dropList().
template <class T>
class BaMDIndexLists {
 public:
  // Lists that are complete.
  [[nodiscard]] int count() const { return static_cast<int>(_ends.size()); }
  [[nodiscard]] bool empty() const { return _ends.empty(); }
  // Valid until the lists change.
  [[nodiscard]] std::span<const T> operator[](int i) const {
    BtAssert(i >= 0 && i < count());
    const auto place = static_cast<std::size_t>(i);
    const std::size_t start = place == 0 ? 0 : _ends[place - 1];
    return std::span<const T>(_entries).subspan(start, _ends[place] - start);
  }
  // The entries of all lists, one after another.
  [[nodiscard]] std::span<const T> entries() const { return _entries; }

  // Makes room for entries, and for the lists they make where that is known, that are about to be
  // pushed to lists that hold none.
  void reserve(std::size_t entries, std::size_t lists = 0) {
    if (_entries.empty()) _entries.reserve(entries);
    if (_ends.empty()) _ends.reserve(lists);
  }
  void append(std::span<const T> list) {
    _entries.insert(_entries.end(), list.begin(), list.end());
    endList();
  }
  void push(const T& entry) { _entries.push_back(entry); }
  // The entries pushed since the last list ended.
  [[nodiscard]] std::span<const T> openList() const {
    return std::span<const T>(_entries).subspan(_openStart());
  }
  // Takes back the last entry pushed.
  void popEntry() {
    BtAssert(_entries.size() > _openStart());
    _entries.pop_back();
  }
  void endList() {
    BtAssert(_ends.size() < kMaxLists);
    _ends.push_back(_entries.size());
  }
  // Forgets the entries pushed since the last list ended.
  void dropList() { _entries.resize(_openStart()); }
  void clear() {
    _entries.clear();
    _ends.clear();
  }

  friend bool operator==(const BaMDIndexLists& a, const BaMDIndexLists& b) = default;

 private:
  static constexpr std::size_t kMaxLists = 2147483647;
  [[nodiscard]] std::size_t _openStart() const { return _ends.empty() ? 0 : _ends.back(); }

  std::vector<T> _entries;
  std::vector<std::size_t> _ends;  // of each list, in _entries
};
