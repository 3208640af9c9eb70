#include "Bt/btangles.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "Bt/btcoordsys.h"

namespace {

constexpr double kPi = std::numbers::pi;
using Sequence = std::array<int, 3>;
using Angles = std::array<double, 3>;
constexpr Sequence kSequences[] = {{1, 2, 3}, {2, 3, 1}, {3, 1, 2},
                                   {3, 2, 1}, {2, 1, 3}, {1, 3, 2}};

double LargestDifference(const Bt3X3FloatMat& a, const Bt3X3FloatMat& b) {
  double largest = 0;
  for (int i = 0; i < 9; ++i) {
    largest = std::fmax(largest, std::fabs(a(i / 3, i % 3) - b(i / 3, i % 3)));
  }
  return largest;
}

Angles Decomposed(const Bt3X3FloatMat& matrix, const Sequence& sequence) {
  BtArray<float> angles(3);
  BtGetDecomposedRotationMatrix(&angles, {sequence[0], sequence[1], sequence[2]}, matrix);
  return {angles[0], angles[1], angles[2]};
}

Bt3X3FloatMat Turn(int axis, double angle) {
  Angles angles = {};
  angles[static_cast<std::size_t>(axis - 1)] = angle;
  return BtComposeRotationMatrix(angles, kSequences[0]);
}

TEST(BtComposeRotationMatrix, TurnsRowVectorsTheRightWay) {
  const BtCoordSystem x(Turn(1, kPi / 2), {1, 2, 3});
  const BtCoordSystem z(Turn(3, kPi / 2), {0, 0, 0});
  EXPECT_NEAR(x.transformPoint({0, 1, 0})[2], 3 + 1, 1e-6);
  EXPECT_NEAR(x.transformDirection({0, 1, 0})[2], 1, 1e-6);
  EXPECT_NEAR((x * z).origin()[0], -2, 1e-6);
  // The sequence Z, Y, X is Rx Ry Rz: the turn about X comes first.
  const Bt3X3FloatMat both = BtComposeRotationMatrix(Angles{kPi / 2, 0, kPi / 2}, kSequences[3]);
  EXPECT_LT(LargestDifference((x * z).rotation(), both), 1e-6);
  EXPECT_EQ(Turn(2, 0), Bt3X3FloatMat());
}

TEST(BtGetDecomposedRotationMatrix, IsInvertedByTheComposition) {
  std::mt19937 random(7);
  std::uniform_real_distribution uniform(-kPi, kPi);
  // Middle angles on both sides of the places where the formulas change.
  std::vector<double> middle_angles = {0, 1e-4, 0.5};
  for (const double step : {0., 1e-7, 1e-6, 1e-5, 1e-3}) {
    const double place = std::asin(0.70711);
    middle_angles.insert(middle_angles.end(), {place - step, place + step, kPi / 2 - step});
  }
  for (const Sequence& sequence : kSequences) {
    EXPECT_EQ(Decomposed({}, sequence), Angles());
    const auto first = static_cast<std::size_t>(sequence[0] - 1);
    const auto last = static_cast<std::size_t>(sequence[2] - 1);
    for (int i = 0; i < 2000; ++i) {
      const double middle = middle_angles[random() % middle_angles.size()];
      Angles angles = {uniform(random), uniform(random), uniform(random)};
      angles[3 - first - last] = i % 2 == 0 ? middle : -middle;
      Bt3X3FloatMat m = BtComposeRotationMatrix(angles, sequence);
      if (middle == kPi / 2) {
        // Exactly a right angle: cosines that are almost 0 become 0.
        for (int e = 0; e < 9; ++e) m(e / 3, e % 3) = std::round(m(e / 3, e % 3) * 1e6F) / 1e6F;
      }
      const Angles found = Decomposed(m, sequence);
      ASSERT_LT(LargestDifference(m, BtComposeRotationMatrix(found, sequence)), 2e-6)
          << sequence[0] << sequence[1] << sequence[2] << " middle " << middle;
      // Far from the pole the angles are the same, at the pole the outer ones share their turn.
      for (std::size_t a = 0; a < 3 && middle < 0.7; ++a) ASSERT_NEAR(found[a], angles[a], 2e-6);
      ASSERT_TRUE(middle != kPi / 2 || std::fabs(found[first]) == std::fabs(found[last]));
    }
  }
}

// Sequences that end with the axis they began with, such as X, Y, X.
TEST(StableDecomp, TakesRepeatedAxes) {
  for (const Sequence& distinct : kSequences) {
    const Sequence sequence = {distinct[0], distinct[1], distinct[0]};
    for (const double middle : {0., 1e-3, 0.7853, 0.7855, 1.5, 2.356, 2.357, 3.14, kPi}) {
      const auto rotation = [&sequence](double first, double second, double last) {
        return Turn(sequence[2], last) * Turn(sequence[1], second) * Turn(sequence[0], first);
      };
      const Bt3X3FloatMat matrix = rotation(0.4, middle, -1.9);
      std::array<float, 3> a = {};
      StableDecomp(&a[0], &a[1], &a[2], sequence, matrix);
      EXPECT_LT(LargestDifference(matrix, rotation(a[0], a[1], a[2])), 2e-6)
          << sequence[0] << sequence[1] << " middle " << middle;
    }
  }
}

// Angles that were taken apart come back to where they were, however far from zero that is.
TEST(BtGetClosestAngles, FindsTheNearestOfEqualRotations) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> uniform(-10, 10);
  for (int i = 0; i < 1000; ++i) {
    const Sequence& sequence = kSequences[i % 6];
    const std::array<float, 3> target = {uniform(random), uniform(random), uniform(random)};
    // Near the pole other outer angles may be as good.
    if (std::fabs(std::cos(target[static_cast<std::size_t>(sequence[1] - 1)])) < 0.05F) continue;
    const Angles turned = {target[0], target[1], target[2]};
    std::array<float, 3> angles = {};
    BtGetDecomposedRotationMatrix(angles, sequence, BtComposeRotationMatrix(turned, sequence));
    BtGetClosestAngles(angles, sequence, target);
    for (std::size_t a = 0; a < 3; ++a) ASSERT_NEAR(angles[a], target[a], 1e-4);
  }
}

TEST(BtAnglesDeathTest, RefusesWhatIsNoRotation) {
  const std::pair<Sequence, const char*> cases[] = {{{1, 2, 1}, "seq\\[0\\]!=seq\\[2\\]"},
                                                    {{1, 1, 2}, "seq\\[0\\]!=seq\\[1\\]"},
                                                    {{1, 2, 2}, "seq\\[1\\]!=seq\\[2\\]"},
                                                    {{0, 1, 2}, "seq\\[0\\]>=1 && seq\\[0\\]<=3"},
                                                    {{1, 4, 2}, "seq\\[1\\]>=1 && seq\\[1\\]<=3"},
                                                    {{1, 2, -3}, "seq\\[2\\]>=1 && seq\\[2\\]<=3"}};
  for (const auto& [sequence, message] : cases) EXPECT_DEATH(Decomposed({}, sequence), message);
  Bt3X3FloatMat mirrored;
  mirrored(2, 2) = -1;
  EXPECT_DEATH(Decomposed(mirrored, kSequences[0]), "isRightHanded\\(matrix_in\\)");
}

}  // namespace
