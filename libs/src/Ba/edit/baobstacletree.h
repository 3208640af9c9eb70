// A tree over points of a plane that tells quickly which of them may lie in a triangle.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

struct BaPlanePoint {
  double x;
  double y;
  bool operator==(const BaPlanePoint& other) const = default;
};

// The sine of an angle up to which three points count as a straight line: above the rounding of
// their plane, below what a file of single floats can mean.
inline constexpr double kBaStraight = 1e-9;

// Splits the points in halves across the wider side, again and again. Points can be taken out; a
// part without points is passed over.
class BaObstacleTree {
 public:
  using Index = std::size_t;

  // `points` must outlive the tree; `obstacles` are the indices of those that are in it.
  void build(const std::vector<BaPlanePoint>* points, std::vector<Index> obstacles);
  // Takes a point out, if it is in.
  void remove(Index point);
  // True when `is_hit(index)` holds for a point that is in the triangle, which runs
  // counterclockwise, or on its sides; it is asked about others, too. Counts `steps` down.
  template <class IsHit>
  bool findIn(const std::array<BaPlanePoint, 3>& triangle, long long* steps, IsHit is_hit) const {
    if (_nodes.empty()) return false;
    const Bounds bounds = _boundsOf(triangle);
    std::array<Index, kMaxDepth> waiting;
    std::size_t n_waiting = 0;
    waiting[n_waiting++] = kRoot;
    while (n_waiting > 0) {
      --*steps;
      const Index place = waiting[--n_waiting];
      const Node& node = _nodes[place];
      if (node.n_left == 0 || !_touches(node, bounds)) continue;
      if (place < _first_leaf) {
        waiting[n_waiting++] = 2 * place;
        waiting[n_waiting++] = 2 * place + 1;
        continue;
      }
      for (Index i = node.begin; i < node.end; ++i) {
        if (is_hit(_obstacles[i])) return true;
      }
    }
    return false;
  }

 private:
  static constexpr Index kRoot = 1;  // the children of node i are 2 i and 2 i + 1
  static constexpr Index kLeafSize = 8;
  static constexpr std::size_t kMaxDepth = 64;

  struct Node {
    BaPlanePoint low;  // the corners of the box around the points
    BaPlanePoint high;
    Index begin;  // in _obstacles
    Index end;
    Index n_left;
  };
  // What a triangle lies in: a box and, along each side, the half plane to its left.
  struct Bounds {
    struct Side {
      BaPlanePoint from;
      BaPlanePoint way;
      double limit;
    };
    BaPlanePoint low;
    BaPlanePoint high;
    std::array<Side, 3> sides;
  };

  static Bounds _boundsOf(const std::array<BaPlanePoint, 3>& triangle);
  static bool _touches(const Node& node, const Bounds& bounds);
  void _setBox(Node* node) const;
  void _split(Index place);

  const std::vector<BaPlanePoint>* _points = nullptr;
  std::vector<Index> _obstacles;
  std::vector<Node> _nodes;
  Index _first_leaf = kRoot;
  std::vector<Index> _leaves;  // by point; 0 for one that is not in
};
