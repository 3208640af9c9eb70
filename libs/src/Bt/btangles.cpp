#include "Bt/btangles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

// Beyond the sine of 45 degrees the middle angle is near the place where the outer axes fall
// together. There the outer angles come from their sum or difference, which stays well-defined.
constexpr double kNearPole = 0.70711;

// Both take floats to double, so that the answer is the float nearest to the exact one.
float Root(float square) { return static_cast<float>(std::sqrt(static_cast<double>(square))); }
float ArcTan(float y, float x) {
  return static_cast<float>(std::atan2(static_cast<double>(y), static_cast<double>(x)));
}

struct SequenceAngles {
  float first;
  float middle;
  float last;
};

// Three different axes; i, j, k count from 0 here and below.
SequenceAngles DecomposeDistinct(int i, int j, int k, const Bt3X3FloatMat& m) {
  const float s = Root(m(k, k) * m(k, k) + m(k, j) * m(k, j));
  const float middle = ArcTan(m(k, i), s);
  const double sine = static_cast<double>(m(k, i));
  if (sine >= kNearPole) {
    const float combined = ArcTan(m(j, k) + m(i, j), m(j, j) - m(i, k));
    const float first = s != 0 ? ArcTan(-m(k, j), m(k, k)) : combined / 2;
    return {first, middle, combined - first};
  }
  if (sine <= -kNearPole) {
    const float combined = ArcTan(-(m(i, j) - m(j, k)), m(i, k) + m(j, j));
    const float first = s != 0 ? ArcTan(-m(k, j), m(k, k)) : combined / 2;
    return {first, middle, first - combined};
  }
  return {ArcTan(-m(k, j), m(k, k)), middle, ArcTan(-m(j, i), m(i, i))};
}

// The first axis is also the last.
SequenceAngles DecomposeRepeated(int i, int j, const Bt3X3FloatMat& m) {
  const int h = ((i + 1) % 3 == j ? i + 2 : i + 1) % 3;
  const float s = Root(m(i, h) * m(i, h) + m(i, j) * m(i, j));
  const float middle = ArcTan(s, m(i, i));
  const double cosine = static_cast<double>(m(i, i));
  if (cosine >= kNearPole) {
    const float combined = ArcTan(m(j, h) - m(h, j), m(h, h) + m(j, j));
    const float first = s != 0 ? ArcTan(m(i, j), -m(i, h)) : combined / 2;
    return {first, middle, combined - first};
  }
  if (cosine <= -kNearPole) {
    const float combined = ArcTan(m(h, j) + m(j, h), m(j, j) - m(h, h));
    const float first = s != 0 ? ArcTan(m(i, j), -m(i, h)) : combined / 2;
    return {first, middle, first - combined};
  }
  return {ArcTan(m(i, j), -m(i, h)), middle, ArcTan(m(j, i), m(h, i))};
}

void CheckSequence(std::span<const int, 3> seq) {
  BtAssert(seq[0] != seq[2], "seq[0]!=seq[2]");
  BtAssert(seq[0] != seq[1], "seq[0]!=seq[1]");
  BtAssert(seq[1] != seq[2], "seq[1]!=seq[2]");
  BtAssert(seq[0] >= 1 && seq[0] <= 3, "seq[0]>=1 && seq[0]<=3");
  BtAssert(seq[1] >= 1 && seq[1] <= 3, "seq[1]>=1 && seq[1]<=3");
  BtAssert(seq[2] >= 1 && seq[2] <= 3, "seq[2]>=1 && seq[2]<=3");
}

// Where the angle of an axis number stands.
std::size_t Place(int axis) { return static_cast<std::size_t>(axis - 1); }

// The turn about one axis (numbered from 1) for row vectors.
Bt3X3DoubleMat RotationAbout(int axis, double angle) {
  const int a = axis % 3;
  const int b = (axis + 1) % 3;
  Bt3X3DoubleMat m;
  m(a, a) = std::cos(angle);
  m(a, b) = std::sin(angle);
  m(b, a) = -m(a, b);
  m(b, b) = m(a, a);
  return m;
}

// The angle that differs from `angle` by full turns and is nearest to `target`.
double Nearest(double angle, double target) {
  return target + std::remainder(angle - target, 2 * std::numbers::pi);
}

}  // namespace

bool BtGetRotationAxes(BtRotationAxes* axes, const Bt3X3FloatMat& transform) {
  Bt3X3DoubleMat m(transform);
  axes->scale = 0;
  for (int row = 0; row < 3; ++row) {
    const double length = std::hypot(m(row, 0), m(row, 1), m(row, 2));
    axes->scale = std::max(axes->scale, std::fabs(length - 1));
    for (int column = 0; column < 3; ++column) m(row, column) /= length;
  }
  axes->shear = 0;
  for (int a = 0; a < 3; ++a) {
    const int b = (a + 1) % 3;
    const double cosine = m(a, 0) * m(b, 0) + m(a, 1) * m(b, 1) + m(a, 2) * m(b, 2);
    axes->shear = std::max(axes->shear, std::fabs(cosine));
  }
  axes->matrix = axes->isScaled() ? Bt3X3FloatMat(m) : transform;
  // Rounding can turn axes that are nearly in one plane, so both are asked.
  return isRightHanded(transform) && isRightHanded(axes->matrix);
}

void StableDecomp(float* first, float* middle, float* last, std::span<const int, 3> sequence,
                  const Bt3X3FloatMat& m) {
  const int i = sequence[0] - 1;
  const int j = sequence[1] - 1;
  const int k = sequence[2] - 1;
  BtAssert(i >= 0 && i < 3, "i>=0 && i<3");
  BtAssert(j >= 0 && j < 3, "j>=0 && j<3");
  BtAssert(k >= 0 && k < 3, "k>=0 && k<3");
  BtAssert(i != j, "i!=j");
  BtAssert(j != k, "j!=k");
  const SequenceAngles angles = i == k ? DecomposeRepeated(i, j, m) : DecomposeDistinct(i, j, k, m);
  const float sign = (i + 1) % 3 == j ? 1.0F : -1.0F;
  *first = sign * angles.first;
  *middle = sign * angles.middle;
  *last = sign * angles.last;
}

void BtGetDecomposedRotationMatrix(std::span<float, 3> result, std::span<const int, 3> sequence,
                                   const Bt3X3FloatMat& matrix_in) {
  CheckSequence(sequence);
  BtAssert(isRightHanded(matrix_in), "isRightHanded(matrix_in)");
  StableDecomp(&result[Place(sequence[0])], &result[Place(sequence[1])],
               &result[Place(sequence[2])], sequence, matrix_in);
}

void BtGetDecomposedRotationMatrix(BtArray<float>* result, const BtArray<int>& sequence,
                                   const Bt3X3FloatMat& matrix_in) {
  BtAssert(result->size() == 3, "result->size()==3");
  BtAssert(sequence.size() == 3, "sequence.size()==3");
  BtGetDecomposedRotationMatrix(std::span<float, 3>(result->begin(), 3),
                                std::span<const int, 3>(sequence.begin(), 3), matrix_in);
}

Bt3X3FloatMat BtComposeRotationMatrix(std::span<const double, 3> angles,
                                      std::span<const int, 3> sequence) {
  CheckSequence(sequence);
  Bt3X3DoubleMat product;
  for (const int axis : sequence) product = RotationAbout(axis, angles[Place(axis)]) * product;
  return Bt3X3FloatMat(product);
}

void BtGetClosestAngles(std::span<float, 3> angles, std::span<const int, 3> sequence,
                        std::span<const float, 3> target) {
  CheckSequence(sequence);
  std::array<double, 3> best = {};
  double best_distance = 0;
  for (const bool mirrored : {false, true}) {
    std::array<double, 3> candidate = {};
    double distance = 0;
    for (std::size_t p = 0; p < 3; ++p) {
      const std::size_t axis = Place(sequence[p]);
      const double angle = static_cast<double>(angles[axis]);
      const double goal = static_cast<double>(target[axis]);
      const double turned = p == 1 ? std::numbers::pi - angle : std::numbers::pi + angle;
      candidate[axis] = Nearest(mirrored ? turned : angle, goal);
      distance += (candidate[axis] - goal) * (candidate[axis] - goal);
    }
    if (mirrored && distance >= best_distance) break;
    best = candidate;
    best_distance = distance;
  }
  for (std::size_t a = 0; a < 3; ++a) angles[a] = static_cast<float>(best[a]);
}
