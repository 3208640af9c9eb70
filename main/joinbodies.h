// Bodies of one mesh that meet: where they do, and always will, they share control points.
#pragma once

#include <cstdint>
#include <vector>

#include "blendshape.h"
#include "skin.h"

struct Faces;

// What is known of the points of a mesh before they stand in it.
struct MeshPoints {
  Faces* faces;
  std::vector<double>* normals;  // x y z per point; empty where they are not of points
  SkinWeights* weights;
  SliderOffsets* offsets;
};

// Makes one point of points of different bodies that coincide and are moved alike: by the same
// nodes with the same weights, and by the same sliders to the same places. So posing, subdividing
// and sculpting do not tear bodies apart that are whole at rest. The first body's point stands, and
// takes one point of each other body. `first` is what FirstCoincident() says of the points, or
// empty where none coincide. Afterwards points count anew, and the parts of `faces` are gone.
void JoinBodies(const std::vector<std::uint32_t>& first, const MeshPoints& mesh);
