// The edit that leaves triangles only.

#include <utility>
#include <vector>

#include "Ba/bamodel.h"
#include "Ba/batriangulate.h"

namespace {

template <class T>
BtDArray<T> PickCorners(const BtArray<T>& values, const BaTriangle& triangle) {
  return {values[triangle[0]], values[triangle[1]], values[triangle[2]]};
}

BtDArray<BaVertex> VerticesOf(const BaPolygon& polygon, const BaTriangle& triangle) {
  return PickCorners<BaVertex>(polygon.vertices(), triangle);
}

void SetTriangle(BaPolygon* target, const BaPolygon& source, const BaTriangle& triangle) {
  target->setVertices(VerticesOf(source, triangle));
}

void SetTriangle(BaTexturedPolygon* target, const BaTexturedPolygon& source,
                 const BaTriangle& triangle) {
  target->setVertices(VerticesOf(source, triangle),
                      PickCorners<BaTextureCoords>(source.textureCoords(), triangle));
}

void CheckCorners(const BaPolygon& polygon) {
  BtAssert(polygon.numVertices() >= 3, "polygon->numVertices()>=3");
}

void CheckCorners(const BaTexturedPolygon& polygon) {
  CheckCorners(static_cast<const BaPolygon&>(polygon));
  BtAssert(polygon.textureCoords().size() >= 3, "polygon->textureCoords().size()>=3");
}

// The triangles of a polygon that have three corners at three places. None may be left of an
// outline that has no area.
std::vector<BaTriangle> TrianglesOf(const BaPolygon& polygon) {
  const BtDArray<BaVertex>& corners = polygon.vertices();
  std::vector<BaTriangle> triangles = BaTriangulate(corners);
  std::erase_if(triangles, [&corners](const BaTriangle& t) {
    return corners[t[0]] == corners[t[1]] || corners[t[1]] == corners[t[2]] ||
           corners[t[2]] == corners[t[0]];
  });
  return triangles;
}

// Cuts the polygons of one collection of a body; `add(triangle)` adds to the same collection.
template <class Polygon, class Add>
void Triangulate(const BaElements<Polygon*>& polygons, Add add) {
  for (const Polygon* polygon : polygons) CheckCorners(*polygon);
  const int n_polygons = polygons.size();
  for (int i = 0; i < n_polygons; ++i) {
    Polygon* const polygon = polygons[i];
    if (polygon->numVertices() == 3) continue;
    const std::vector<BaTriangle> triangles = TrianglesOf(*polygon);
    if (triangles.empty()) continue;
    for (std::size_t k = 1; k < triangles.size(); ++k) {
      auto triangle = std::make_unique<Polygon>(polygon->bodyId(), polygon->materialId());
      triangle->setSFlag(polygon->sFlag());
      SetTriangle(triangle.get(), *polygon, triangles[k]);
      add(std::move(triangle));
    }
    SetTriangle(polygon, *polygon, triangles[0]);
  }
}

}  // namespace

void BaModel::triangulateBody(BaBody* body) {
  _assertEditable();
  BtAssert(body != nullptr, "body");
  BtAssert(findBody(body->id()) == body, "_bodies[body->id()]==body");
  const auto take = [this](auto triangle) { _take(std::move(triangle)); };
  Triangulate(body->polygons(), take);
  Triangulate(body->texturedPolygons(), take);
}
