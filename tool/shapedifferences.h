// What differs between the shapes of a body in two models.
#pragma once

#include <vector>

#include "differences.h"

class BaBody;

struct ShapeOwner {
  const BaModel& model;
  const BaBody& body;
};

// Adds what differs in vertices, faces, texture coordinates, weights and slider moves.
void DiffShapes(const ShapeOwner& a, const ShapeOwner& b, double tolerance,
                std::vector<Difference>* found);
