// The faces of a model as the world sees them, and which of their corners are at one place.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "Bt/bthash.h"
#include "checkrules.h"
#include "geometry.h"

// Numbers places and joins those that a face touches.
class PlaceJoiner {
 public:
  PlaceJoiner(const Point& low, double grid) : _low(low), _grid(grid) {}
  int placeOf(const Point& p) {
    // The grid has fewer lines than that in each direction.
    constexpr unsigned kBits = 21;
    std::uint64_t key = 0;
    const Point offset = p - _low;
    for (const double c : offset) {
      key = key << kBits | static_cast<std::uint64_t>(std::llround(c / _grid));
    }
    const auto [entry, is_new] = _places.try_emplace(key, static_cast<int>(_roots.size()));
    if (is_new) _roots.push_back(entry->second);
    return entry->second;
  }
  int rootOf(int place) {
    while (_at(place) != place) place = _at(place) = _at(_at(place));
    return place;
  }
  void join(int a, int b) { _at(rootOf(a)) = rootOf(b); }

 private:
  int& _at(int place) { return _roots[static_cast<std::size_t>(place)]; }

  Point _low;  // of the box around all places
  double _grid;
  BtHashMap<std::uint64_t, int> _places;
  std::vector<int> _roots;
};

// The corners of a face in the world.
inline std::vector<Point> CornersOf(const BaVertexElement& element, const std::vector<int>& corners,
                                    const Bt4X4DoubleMat& world) {
  std::vector<Point> points;
  points.reserve(corners.size());
  for (const int i : corners) {
    points.push_back(BtTransformPoint(PointOf(element.vertices()[i]), world));
  }
  return points;
}

// Calls visit(body, element, points) for every face of the model.
template <class Visit>
void ForEachWorldFace(const CheckInput& input, Visit visit) {
  const WorldTransforms worlds = WorldTransformsOf(input.model);
  for (const BaBody* body : input.bodies) {
    const Bt4X4DoubleMat& world = worlds.at(body->id());
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
      visit(*body, element.vertices()[corners.front()], CornersOf(element, corners, world));
    });
  }
}

// The box around all faces.
inline Box BoxOfFaces(const CheckInput& input) {
  Box box;
  ForEachWorldFace(input, [&box](const auto&, const auto&, const std::vector<Point>& points) {
    for (const Point& p : points) box.add(p);
  });
  return box;
}

// Positions this near are one place; 0 where there is nothing.
inline double GridOf(const Box& box) {
  constexpr double kGrid = 1e-5;  // of the model's size
  return box.min ? Length(*box.max - *box.min) * kGrid : 0;
}
