// Finds rows of numbers that are equal within a tolerance.
#pragma once

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

// Rows of one length, of three numbers at least, the first three of which are a place.
class PlaceIndex {
 public:
  // Numbers that differ by no more than the tolerance are equal.
  PlaceIndex(const std::vector<std::vector<double>>* rows, double tolerance);

  // Whether there is a row that equals `row` and for which `also(index)` holds.
  template <class Also>
  [[nodiscard]] bool has(const std::vector<double>& row, Also also) const {
    // The cell of the row first: rows that are equal are mostly there.
    if (_hasIn(_cellOf(row, 0, 0, 0), row, also)) return true;
    for (int i = 0; i < 27; ++i) {
      const int dx = i % 3 - 1;
      const int dy = i / 3 % 3 - 1;
      const int dz = i / 9 - 1;
      if (_hasIn(_cellOf(row, dx, dy, dz), row, also)) return true;
    }
    return false;
  }

 private:
  template <class Also>
  [[nodiscard]] bool _hasIn(std::uint64_t cell, const std::vector<double>& row, Also also) const {
    const auto found = _cells.find(cell);
    if (found == _cells.end()) return false;
    return std::any_of(found->second.begin(), found->second.end(),
                       [&](std::size_t i) { return _equal((*_rows)[i], row) && also(i); });
  }
  [[nodiscard]] std::uint64_t _cellOf(const std::vector<double>& row, int dx, int dy, int dz) const;
  [[nodiscard]] bool _equal(const std::vector<double>& a, const std::vector<double>& b) const;

  const std::vector<std::vector<double>>* _rows;
  double _tolerance;
  double _size;  // of a cell
  std::unordered_map<std::uint64_t, std::vector<std::size_t>> _cells;
};
