// The faces of one mesh, gathered from the geometries of one or more bodies. The arrays have the
// shapes that the mesh object takes, so that they are moved, not copied, into it.
#pragma once

#include <cstdint>
#include <vector>

#include "Bt/btstr.h"
#include "meshbodies.h"

class BaMDGeometry;
class BaMDVertices;
class BaModelData;

struct Faces {
  // What one geometry of one body became. Geometry and vertices are the document's, and go when it
  // forgets them.
  struct Part {
    const BaMDGeometry* geometry;
    const BaMDVertices* vertices;
    int body;         // its number among the bodies
    int first_point;  // its points run up to the next part's first
  };

  std::vector<double> points;  // x y z per control point, in the mesh's space
  std::vector<std::int32_t>
      corners;             // 0-based point per corner, the last of a face as -(point) - 1
  std::vector<float> uvs;  // u v per distinct texture coordinate
  std::vector<std::int32_t> corner_uvs;      // 0-based per corner, -1 for none; empty when no
                                             // face is textured
  std::vector<std::int32_t> face_materials;  // per face, index into `materials`
  std::vector<BtStr> materials;              // names in first-use order
  std::vector<Part> parts;

  [[nodiscard]] std::size_t pointCount() const { return points.size() / 3; }
  [[nodiscard]] std::size_t faceCount() const { return face_materials.size(); }
};

// Gathers the faces of the bodies in their order. Strips become triangles of alternating winding;
// triangles that repeat a vertex and polygons of fewer than three corners make no face.
Faces GatherFaces(const BaModelData& model_data, const MeshBodies& bodies, float scale_factor);
