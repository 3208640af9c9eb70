#include "placeindex.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

PlaceIndex::PlaceIndex(Rows rows, double tolerance)
    : _rows(std::move(rows)), _tolerance(tolerance), _order(_rows.size()) {
  std::iota(_order.begin(), _order.end(), std::size_t{0});
  if (!_rows.empty()) _addBox(0, _rows.size());
}

// The rows of a box are halved where they spread most.
void PlaceIndex::_addBox(std::size_t first, std::size_t last) {
  Box box = {first, last, 0, _rows[_order[first]], _rows[_order[first]]};
  std::size_t widest = 0;
  for (std::size_t c = 0; c < box.low.size(); ++c) {
    for (std::size_t i = first + 1; i < last; ++i) {
      box.low[c] = std::min(box.low[c], _rows[_order[i]][c]);
      box.high[c] = std::max(box.high[c], _rows[_order[i]][c]);
    }
    if (box.high[c] - box.low[c] > box.high[widest] - box.low[widest]) widest = c;
  }
  const bool halves = last - first > kRowsOfLeaf && box.low != box.high;
  const std::size_t place = _boxes.size();
  _boxes.push_back(std::move(box));
  if (!halves) return;
  const std::size_t middle = first + (last - first) / 2;
  const auto at = [this](std::size_t i) { return _order.begin() + static_cast<std::ptrdiff_t>(i); };
  std::nth_element(at(first), at(middle), at(last), [this, widest](std::size_t a, std::size_t b) {
    return _rows[a][widest] < _rows[b][widest];
  });
  _addBox(first, middle);
  _boxes[place].second = _boxes.size();
  _addBox(middle, last);
}

bool PlaceIndex::_reaches(const Box& box, const std::vector<double>& row) const {
  for (std::size_t c = 0; c < row.size(); ++c) {
    if (row[c] - box.high[c] > _tolerance || box.low[c] - row[c] > _tolerance) return false;
  }
  return true;
}

bool PlaceIndex::_equal(const std::vector<double>& a, const std::vector<double>& b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [this](double x, double y) { return std::fabs(x - y) <= _tolerance; });
}

int CountMissing(const Rows& rows, const Rows& others, double tolerance) {
  const PlaceIndex index(others, tolerance);
  int missing = 0;
  for (const auto& row : rows) {
    if (!index.has(row)) ++missing;
  }
  return missing;
}
