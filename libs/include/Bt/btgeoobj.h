// A shape of its own: vertices and the triangles over them, of no body and no material.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "Bt/btassert.h"

// The triangles come as strips: of a strip's vertices 0 1 2 are a triangle, 1 2 3 the next one with
// the opposite sense, and so on. Strips may share vertices.
class Bt_GeoObj {
 public:
  using Point = std::array<float, 3>;

  [[nodiscard]] int numVertices() const { return static_cast<int>(_vertices.size()); }
  [[nodiscard]] const Point& vertex(int i) const {
    BtAssert(i >= 0 && i < numVertices());
    return _vertices[static_cast<std::size_t>(i)];
  }
  [[nodiscard]] int numStrips() const { return static_cast<int>(_strip_ends.size()); }
  // The vertices of a strip, by their 0-based indices.
  [[nodiscard]] std::span<const int> strip(int i) const {
    BtAssert(i >= 0 && i < numStrips());
    const auto place = static_cast<std::size_t>(i);
    const std::size_t begin = i == 0 ? 0 : _strip_ends[place - 1];
    return std::span(_indices).subspan(begin, _strip_ends[place] - begin);
  }

  // Answers the index of the new vertex.
  int addVertex(const Point& position) {
    _vertices.push_back(position);
    return numVertices() - 1;
  }
  // Asserts that the strip has a triangle at least and that its vertices are there.
  void addStrip(std::span<const int> vertices) {
    BtAssert(vertices.size() >= 3);
    for (const int i : vertices) BtAssert(i >= 0 && i < numVertices());
    _indices.insert(_indices.end(), vertices.begin(), vertices.end());
    _strip_ends.push_back(_indices.size());
  }
  void addTriangle(int a, int b, int c) { addStrip(std::array{a, b, c}); }

 private:
  std::vector<Point> _vertices;
  std::vector<int> _indices;             // of all strips, one behind the other
  std::vector<std::size_t> _strip_ends;  // in _indices
};
