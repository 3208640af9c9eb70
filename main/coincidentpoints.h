// The points of a mesh that coincide.
#pragma once

#include <cstdint>
#include <vector>

// For each point (x y z each) the first one that coincides with it, which for most is the point
// itself. Points coincide that lie within a hundred-thousandth of the mesh's diagonal of each other
// along each axis; the first of them stands for those around it.
std::vector<std::uint32_t> FirstCoincident(const std::vector<double>& points);
