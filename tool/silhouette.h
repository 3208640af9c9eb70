// The outline of many filled polygons, of a size that does not grow with their number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

using Point2 = std::array<double, 2>;

// A raster of cells of size 1 with the origin at a corner. Polygons fill cells; what they fill is
// answered as outlines.
class Silhouette {
 public:
  Silhouette(int columns, int rows);

  // Fills a polygon; it may be concave, and its edges count as filled. What lies outside is cut
  // off.
  void fill(const std::vector<Point2>& polygon);
  // Closed outlines around what is filled, and around the holes in it, simplified to less than the
  // size of a cell. The even-odd rule fills them.
  [[nodiscard]] std::vector<std::vector<Point2>> outlines() const;

 private:
  using Corner = std::array<int, 2>;
  // Sides of filled cells toward empty ones, by their start; what is filled lies on their right.
  using Sides = std::multimap<Corner, Corner>;

  [[nodiscard]] std::size_t _placeOf(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(_columns) +
           static_cast<std::size_t>(column);
  }
  [[nodiscard]] bool _isFilled(int column, int row) const {
    return column >= 0 && row >= 0 && column < _columns && row < _rows &&
           _cells[_placeOf(column, row)] != 0;
  }
  // The sides of a cell toward empty ones, where it is filled.
  void _addSides(int column, int row, Sides* sides) const;
  void _fillRun(int row, double first, double last);
  void _fillEdge(const Point2& a, const Point2& b);

  int _columns;
  int _rows;
  std::vector<std::uint8_t> _cells;
};
