// Cuts polygons into triangles.
#pragma once

#include <array>
#include <vector>

#include "Ba/bavertex.h"
#include "Bt/array.h"

// The corners of a triangle, as 0-based indices into the corners of its polygon.
using BaTriangle = std::array<int, 3>;

// The triangles of a polygon of n corners, which must be 3 at least: always n - 2 triangles, in the
// polygon's sense, every corner in one of them at least. A polygon whose outline does not cross
// itself, as seen along the normal of the plane that fits it best, is cut rightly, concave or not.
// One that crosses itself or has no area is cut into some triangles over its corners. The work
// grows little faster than n; outlines that make it grow faster count as crossing themselves.
[[nodiscard]] std::vector<BaTriangle> BaTriangulate(const BtArray<BaVertex>& corners);
