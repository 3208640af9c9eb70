// Normals of a mesh.
#pragma once

#include <cstdint>
#include <vector>

struct Faces;

// One unit normal per control point (x y z each): the sum of the normals of the faces around it,
// weighted by their areas. Points of different bodies that coincide share one normal, so that a
// joint shows no seam; `first` is what FirstCoincident() says of the points, or empty where
// none coincide.
std::vector<double> SmoothNormals(const Faces& faces, const std::vector<std::uint32_t>& first);

// One unit normal per face (x y z each).
std::vector<double> FlatNormals(const Faces& faces);

// For each corner the 0-based index of its face: where the corner finds its flat normal.
std::vector<std::int32_t> FacePerCorner(const Faces& faces);
