// Rotations as three angles about the axes and as matrices, and the way between the two.
//
// Angles are in radians and indexed by axis: element 0 is the angle about X, 1 about Y, 2 about Z.
// A sequence names three different axes by number: 1 is X, 2 is Y, 3 is Z. The matrix of the angles
// (x, y, z) with the sequence 3, 2, 1 is Rx(x) Ry(y) Rz(z) for row vectors: a point is turned about
// the last axis of the sequence first. Matrices must be right-handed, sequences must be as
// described; anything else is an assertion failure.
#pragma once

#include <bit>
#include <cstdint>
#include <span>

#include "Bt/array.h"
#include "Bt/btfloatmat.h"

// What turns radians into the degrees that are shown and written: always this very float, one step
// below 57.29578F, so that all programs give the same angle to the last bit.
inline constexpr float kBtDegreesPerRadian = std::bit_cast<float>(std::uint32_t{0x42652EE0});

// The angles whose matrix `matrix_in` is. Where the middle angle is a right angle, so that only the
// sum or the difference of the outer ones counts, each outer angle gets half of it.
void BtGetDecomposedRotationMatrix(std::span<float, 3> result, std::span<const int, 3> sequence,
                                   const Bt3X3FloatMat& matrix_in);
// The same with arrays, which must have three elements each.
void BtGetDecomposedRotationMatrix(BtArray<float>* result, const BtArray<int>& sequence,
                                   const Bt3X3FloatMat& matrix_in);

// The axes of a transform, which stand in its rows, made those of a rotation as far as lengths go.
struct BtRotationAxes {
  static constexpr double kTolerance = 1e-3;  // more than rounding explains

  // As they were given where all their lengths were close to 1, else scaled to length 1.
  Bt3X3FloatMat matrix;
  double scale = 0;  // by how much a length missed 1 at most
  double shear = 0;  // the greatest cosine of the angle between two axes, without its sign

  [[nodiscard]] bool isScaled() const { return scale > kTolerance; }
  [[nodiscard]] bool isSheared() const { return shear > kTolerance; }
};

// False when the axes of a transform, as they are given or once they are scaled, are left-handed or
// in one plane: the matrix has no angles then.
[[nodiscard]] bool BtGetRotationAxes(BtRotationAxes* axes, const Bt3X3FloatMat& transform);

// The worker of the decomposition: the angles in the order of the sequence, precise for every
// middle angle. It also takes sequences whose last axis is the first again, such as 1, 2, 1.
void StableDecomp(float* first, float* middle, float* last, std::span<const int, 3> sequence,
                  const Bt3X3FloatMat& m);

// The matrix of three angles: what the decomposition takes apart.
[[nodiscard]] Bt3X3FloatMat BtComposeRotationMatrix(std::span<const double, 3> angles,
                                                    std::span<const int, 3> sequence);

// Replaces `angles` by those angles of the same rotation that are nearest to `target`, measured as
// the sum of squared differences: full turns are added, and the second solution is tried in which
// the outer axes make half a turn more and the middle angle is mirrored.
void BtGetClosestAngles(std::span<float, 3> angles, std::span<const int, 3> sequence,
                        std::span<const float, 3> target);
