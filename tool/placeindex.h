// Finds rows of numbers that are equal within a tolerance.
#pragma once

#include <cstddef>
#include <vector>

using Rows = std::vector<std::vector<double>>;

// A tree of boxes around rows of one length. Rows may lie as close together as they like: a box
// that a search reaches as a whole ends it, and one that it misses is passed over as a whole.
class PlaceIndex {
 public:
  // Numbers that differ by no more than the tolerance are equal.
  PlaceIndex(Rows rows, double tolerance);

  // Whether there is a row that equals `row`.
  [[nodiscard]] bool has(const std::vector<double>& row) const {
    return has(row, [](std::size_t) { return true; });
  }
  // The same of a row for which `also(index)` holds. Every row that equals `row` may be asked.
  template <class Also>
  [[nodiscard]] bool has(const std::vector<double>& row, Also also) const {
    return !_boxes.empty() && _hasIn(0, row, also);
  }

 private:
  struct Box {
    std::size_t first;   // of its rows in _order
    std::size_t last;    // behind them
    std::size_t second;  // the box of the second half; the first half's stands behind this one; 0
                         // for a leaf
    std::vector<double> low;
    std::vector<double> high;
  };
  static constexpr std::size_t kRowsOfLeaf = 8;

  void _addBox(std::size_t first, std::size_t last);
  [[nodiscard]] bool _reaches(const Box& box, const std::vector<double>& row) const;
  [[nodiscard]] bool _equal(const std::vector<double>& a, const std::vector<double>& b) const;
  template <class Also>
  [[nodiscard]] bool _hasIn(std::size_t place, const std::vector<double>& row, Also& also) const {
    const Box& box = _boxes[place];
    if (!_reaches(box, row)) return false;
    if (box.second != 0) return _hasIn(place + 1, row, also) || _hasIn(box.second, row, also);
    for (std::size_t i = box.first; i < box.last; ++i) {
      if (_equal(_rows[_order[i]], row) && also(_order[i])) return true;
    }
    return false;
  }

  Rows _rows;
  double _tolerance;
  std::vector<std::size_t> _order;  // of the rows in the tree
  std::vector<Box> _boxes;          // the one around all first
};

// How many rows there are that equal none of the others.
int CountMissing(const Rows& rows, const Rows& others, double tolerance);
