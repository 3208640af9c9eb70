// The shapes of bodies as arrays.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Bt/btfloatmat.h"
#include "objects.h"

class BaPoser;

// One weight with which a vertex follows a body.
struct VertexWeight {
  std::int32_t vertex;  // 0-based
  std::int32_t body;    // its id
  float weight;
};

// A slider that moves vertices.
struct Shape {
  std::string group;
  std::string slider;
  std::vector<std::int32_t> vertices;
  std::vector<float> offsets;  // x y z each, at the full value
};

// The shape of one body in the body's system, or of all bodies in the world at rest. Corners at one
// place of one body are one vertex, as in a conversion.
struct MeshData {
  std::vector<float> points;                // x y z each
  std::vector<std::int32_t> polygon_sizes;  // corners of each polygon
  std::vector<std::int32_t> corners;        // 0-based vertices, polygon by polygon
  std::vector<float> uvs;                   // u v for each corner, NaN for a plain one
  std::vector<std::int32_t> material_ids;   // for each polygon
  std::vector<std::int32_t> vertex_bodies;  // for each vertex the id of the body it is defined on
  std::vector<VertexWeight> weights;        // by vertex; those of a vertex come to 1
  std::vector<Shape> shapes;
  bool has_uvs = false;
};

// Adds the shape of a body; its points are moved by a matrix unless that is null.
void AddShape(const BaBody& body, const BaModel& model, const Bt4X4DoubleMat* to_world,
              MeshData* mesh);
// The shape of the whole model in the world.
MeshData WholeMesh(const BaModel& model, const BaPoser& poser);
