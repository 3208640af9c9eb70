#include "silhouette.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSimplify = 1.0;  // how far an outline may be off, in cells

double DistanceToLine(const Point2& p, const Point2& a, const Point2& b) {
  const double dx = b[0] - a[0];
  const double dy = b[1] - a[1];
  const double length = std::hypot(dx, dy);
  if (length == 0) return std::hypot(p[0] - a[0], p[1] - a[1]);
  return std::fabs((p[0] - a[0]) * dy - (p[1] - a[1]) * dx) / length;
}

// Keeps the points of an outline that matter: of each stretch the point farthest from its chord,
// until none is far.
std::vector<Point2> Simplified(const std::vector<Point2>& outline) {
  const std::size_t n = outline.size();
  std::vector<bool> keep(n, false);
  keep[0] = keep[n / 2] = true;
  std::vector<std::array<std::size_t, 2>> stretches = {{0, n / 2}, {n / 2, n}};
  while (!stretches.empty()) {
    const auto [first, last] = stretches.back();
    stretches.pop_back();
    double farthest = kSimplify;
    std::size_t place = 0;
    for (std::size_t i = first + 1; i < last; ++i) {
      const double distance = DistanceToLine(outline[i], outline[first], outline[last % n]);
      if (distance <= farthest) continue;
      farthest = distance;
      place = i;
    }
    if (place == 0) continue;
    keep[place] = true;
    stretches.push_back({first, place});
    stretches.push_back({place, last});
  }
  std::vector<Point2> kept;
  for (std::size_t i = 0; i < n; ++i) {
    if (keep[i]) kept.push_back(outline[i]);
  }
  return kept;
}

}  // namespace

Silhouette::Silhouette(int columns, int rows)
    : _columns(columns),
      _rows(rows),
      _cells(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), 0) {}

void Silhouette::_fillRun(int row, double first, double last) {
  const int from = static_cast<int>(std::clamp(std::ceil(first - 0.5), 0.0, double(_columns)));
  const int to = static_cast<int>(std::clamp(std::floor(last - 0.5), -1.0, double(_columns - 1)));
  for (int column = from; column <= to; ++column) {
    _cells[_placeOf(column, row)] = 1;
  }
}

// Thin polygons may hold no middle of a cell: every cell that an edge passes is filled.
void Silhouette::_fillEdge(const Point2& a, const Point2& b) {
  const double length = std::max(std::fabs(b[0] - a[0]), std::fabs(b[1] - a[1]));
  const int steps = static_cast<int>(std::min(length * 2, 1e4)) + 1;
  for (int i = 0; i <= steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    const double x = std::floor(a[0] + (b[0] - a[0]) * t);
    const double y = std::floor(a[1] + (b[1] - a[1]) * t);
    if (x < 0 || y < 0 || x >= _columns || y >= _rows) continue;
    _cells[_placeOf(static_cast<int>(x), static_cast<int>(y))] = 1;
  }
}

void Silhouette::fill(const std::vector<Point2>& polygon) {
  double low = 1e300;
  double high = -1e300;
  for (const Point2& p : polygon) {
    low = std::min(low, p[1]);
    high = std::max(high, p[1]);
  }
  const int first = static_cast<int>(std::clamp(std::floor(low), 0.0, double(_rows)));
  const int last = static_cast<int>(std::clamp(std::ceil(high), 0.0, double(_rows)));
  std::vector<double> crossings;
  for (int row = first; row < last; ++row) {
    const double y = row + 0.5;
    crossings.clear();
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const Point2& a = polygon[i];
      const Point2& b = polygon[(i + 1) % polygon.size()];
      if ((a[1] <= y) == (b[1] <= y)) continue;
      crossings.push_back(a[0] + (y - a[1]) * (b[0] - a[0]) / (b[1] - a[1]));
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
      _fillRun(row, crossings[i], crossings[i + 1]);
    }
  }
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    _fillEdge(polygon[i], polygon[(i + 1) % polygon.size()]);
  }
}

void Silhouette::_addSides(int column, int row, Sides* sides) const {
  if (!_isFilled(column, row)) return;
  const Corner corners[] = {
      {column, row}, {column + 1, row}, {column + 1, row + 1}, {column, row + 1}};
  const Corner beside[] = {
      {column, row - 1}, {column + 1, row}, {column, row + 1}, {column - 1, row}};
  for (std::size_t i = 0; i < 4; ++i) {
    if (!_isFilled(beside[i][0], beside[i][1])) sides->emplace(corners[i], corners[(i + 1) % 4]);
  }
}

std::vector<std::vector<Point2>> Silhouette::outlines() const {
  Sides sides;
  for (int row = 0; row < _rows; ++row) {
    for (int column = 0; column < _columns; ++column) _addSides(column, row, &sides);
  }
  std::vector<std::vector<Point2>> outlines;
  while (!sides.empty()) {
    std::vector<Point2> outline;
    for (auto side = sides.begin(); side != sides.end();) {
      const Corner to = side->second;
      sides.erase(side);
      outline.push_back({static_cast<double>(to[0]), static_cast<double>(to[1])});
      side = sides.find(to);
    }
    outlines.push_back(Simplified(outline));
  }
  return outlines;
}
