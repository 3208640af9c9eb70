#include "baobstacletree.h"

#include <algorithm>
#include <cmath>
#include <utility>

void BaObstacleTree::build(const std::vector<BaPlanePoint>* points, std::vector<Index> obstacles) {
  _points = points;
  _obstacles = std::move(obstacles);
  _leaves.assign(points->size(), 0);
  if (_obstacles.empty()) return;
  _first_leaf = kRoot;
  while (_obstacles.size() / _first_leaf > kLeafSize) _first_leaf *= 2;
  _nodes.resize(2 * _first_leaf);
  _nodes[kRoot].end = _obstacles.size();
  for (Index place = kRoot; place < _nodes.size(); ++place) {
    Node& node = _nodes[place];
    node.n_left = node.end - node.begin;
    if (node.n_left == 0) continue;
    _setBox(&node);
    if (place < _first_leaf) {
      _split(place);
    } else {
      for (Index i = node.begin; i < node.end; ++i) _leaves[_obstacles[i]] = place;
    }
  }
}

void BaObstacleTree::_setBox(Node* node) const {
  node->low = node->high = (*_points)[_obstacles[node->begin]];
  for (Index i = node->begin; i < node->end; ++i) {
    const BaPlanePoint& p = (*_points)[_obstacles[i]];
    node->low = {std::min(node->low.x, p.x), std::min(node->low.y, p.y)};
    node->high = {std::max(node->high.x, p.x), std::max(node->high.y, p.y)};
  }
}

void BaObstacleTree::_split(Index place) {
  const Node& node = _nodes[place];
  const bool wide = node.high.x - node.low.x > node.high.y - node.low.y;
  const auto before = [this, wide](Index a, Index b) {
    const BaPlanePoint& p = (*_points)[a];
    const BaPlanePoint& q = (*_points)[b];
    return wide ? p.x < q.x : p.y < q.y;
  };
  const Index middle = node.begin + (node.end - node.begin) / 2;
  const auto at = [this](Index i) { return _obstacles.begin() + static_cast<std::ptrdiff_t>(i); };
  std::nth_element(at(node.begin), at(middle), at(node.end), before);
  _nodes[2 * place].begin = node.begin;
  _nodes[2 * place].end = middle;
  _nodes[2 * place + 1].begin = middle;
  _nodes[2 * place + 1].end = node.end;
}

void BaObstacleTree::remove(Index point) {
  for (Index place = std::exchange(_leaves[point], Index{0}); place != 0; place /= 2) {
    --_nodes[place].n_left;
  }
}

BaObstacleTree::Bounds BaObstacleTree::_boundsOf(const std::array<BaPlanePoint, 3>& triangle) {
  Bounds bounds;
  const auto& [a, b, c] = triangle;
  bounds.low = {std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y})};
  bounds.high = {std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y})};
  const double size = bounds.high.x - bounds.low.x + bounds.high.y - bounds.low.y;
  for (std::size_t i = 0; i < 3; ++i) {
    const BaPlanePoint& from = triangle[i];
    const BaPlanePoint& to = triangle[(i + 1) % 3];
    const BaPlanePoint way = {to.x - from.x, to.y - from.y};
    bounds.sides[i] = {from, way, -kBaStraight * size * (std::abs(way.x) + std::abs(way.y))};
  }
  return bounds;
}

bool BaObstacleTree::_touches(const Node& node, const Bounds& bounds) {
  if (node.low.x > bounds.high.x || node.high.x < bounds.low.x || node.low.y > bounds.high.y ||
      node.high.y < bounds.low.y) {
    return false;
  }
  // The corner of the box that is farthest to the left of a side decides.
  return std::all_of(bounds.sides.begin(), bounds.sides.end(), [&node](const Bounds::Side& side) {
    const double x = side.way.y > 0 ? node.low.x : node.high.x;
    const double y = side.way.x > 0 ? node.high.y : node.low.y;
    return side.way.x * (y - side.from.y) - side.way.y * (x - side.from.x) >= side.limit;
  });
}
