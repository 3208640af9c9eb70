// Where the bodies of a model stand at rest, and walks over its faces.
#pragma once

#include <cmath>
#include <numeric>
#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btcoordsys.h"
#include "Bt/bthash.h"
#include "modelfacts.h"

inline Point operator-(const Point& a, const Point& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline double Dot(const Point& a, const Point& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}
inline Point Cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double Length(const Point& p) { return std::hypot(p[0], p[1], p[2]); }
// The longest side.
double SizeOf(const Box& box);

// The bodies below the reference body, depth first, parents before their children.
std::vector<const BaBody*> BodiesInOrder(const BaModel& model);

// The rest transforms of all bodies as the world sees them, by id. The reference body is the world.
using WorldTransforms = BtHashMap<int, Bt4X4DoubleMat>;
WorldTransforms WorldTransformsOf(const BaModel& model);

inline Point OriginOf(const Bt4X4DoubleMat& transform) {
  return {transform(3, 0), transform(3, 1), transform(3, 2)};
}
inline Point PointOf(const BaVertex& vertex) {
  const float* p = vertex.position();
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

// Calls visit(element, corners) for every polygon that has three corners or more.
template <class Polygons, class Visit>
void ForEachPolygonFace(const Polygons& polygons, Visit visit) {
  std::vector<int> corners;
  for (const auto* polygon : polygons) {
    if (polygon->numVertices() < 3) continue;
    corners.resize(static_cast<std::size_t>(polygon->numVertices()));
    std::iota(corners.begin(), corners.end(), 0);
    visit(*polygon, corners);
  }
}

// Calls visit(element, corners) for the triangles of strips that do not repeat a position.
template <class Strips, class Visit>
void ForEachStripFace(const Strips& strips, Visit visit) {
  for (const auto* strip : strips) {
    const auto& v = strip->vertices();
    for (int i = 0; i + 2 < strip->numVertices(); ++i) {
      if (v[i] == v[i + 1] || v[i + 1] == v[i + 2] || v[i] == v[i + 2]) continue;
      const int odd = i % 2;  // these triangles face the other way
      visit(*strip, std::vector<int>{i, i + 1 + odd, i + 2 - odd});
    }
  }
}

// Calls visit(element, corners) for every face of a body: its polygons, and the triangles of its
// strips. Corners are positions in the element's vertices. Faces of fewer than three corners, and
// triangles that repeat a position, are passed over.
template <class Visit>
void ForEachFace(const BaBody& body, Visit visit) {
  ForEachPolygonFace(body.polygons(), visit);
  ForEachPolygonFace(body.texturedPolygons(), visit);
  ForEachStripFace(body.tMeshes(), visit);
  ForEachStripFace(body.texturedTMeshes(), visit);
}
