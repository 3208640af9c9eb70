// Where the bodies of a model stand at rest, and walks over its faces.
#pragma once

#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btcoordsys.h"
#include "Bt/bthash.h"
#include "modelfacts.h"

// The bodies below the reference body, depth first, parents before their children.
std::vector<const BaBody*> BodiesInOrder(const BaModel& model);

// The rest transforms of all bodies as the world sees them, by id. The reference body is the world.
using WorldTransforms = BtHashMap<int, Bt4X4DoubleMat>;
WorldTransforms WorldTransformsOf(const BaModel& model);

inline Point PointOf(const BaVertex& vertex) {
  const float* p = vertex.position();
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

// Calls visit(element, corners) for every face of a body: its polygons, and the triangles of its
// strips. Corners are positions in the element's vertices. Faces of fewer than three corners, and
// triangles that repeat a position, are passed over.
template <class Visit>
void ForEachFace(const BaBody& body, Visit visit) {
  std::vector<int> corners;
  const auto polygons = [&](const auto& elements) {
    for (const auto* element : elements) {
      if (element->numVertices() < 3) continue;
      corners.resize(static_cast<std::size_t>(element->numVertices()));
      for (int i = 0; i < element->numVertices(); ++i) corners[static_cast<std::size_t>(i)] = i;
      visit(*element, corners);
    }
  };
  const auto strips = [&](const auto& elements) {
    for (const auto* element : elements) {
      const auto& v = element->vertices();
      for (int i = 0; i + 2 < element->numVertices(); ++i) {
        if (v[i] == v[i + 1] || v[i + 1] == v[i + 2] || v[i] == v[i + 2]) continue;
        corners =
            i % 2 == 0 ? std::vector<int>{i, i + 1, i + 2} : std::vector<int>{i, i + 2, i + 1};
        visit(*element, corners);
      }
    }
  };
  polygons(body.polygons());
  polygons(body.texturedPolygons());
  strips(body.tMeshes());
  strips(body.texturedTMeshes());
}
