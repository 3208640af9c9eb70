// Where bodies stand in a frame, against matrices that are multiplied out one by one.
#include <algorithm>
#include <cmath>
#include <random>

#include "Ba/bamapping.h"
#include "Ba/bamotion.h"
#include "Ba/modeltexts.h"
#include "Bt/btcoordsys.h"
#include "support/mappingtexts.h"

namespace {

// For column vectors, as the formula is written.
using Columns = std::array<std::array<double, 4>, 4>;

Columns Times(const Columns& a, const Columns& b) {
  Columns product = {};
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) {
      for (std::size_t i = 0; i < 4; ++i) product[r][c] += a[r][i] * b[i][c];
    }
  }
  return product;
}

Columns Move(std::size_t axis, double d) {
  Columns m = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  m[axis][3] = d;
  return m;
}

// Written out axis by axis.
Columns Turn(std::size_t axis, double degrees) {
  const double c = std::cos(degrees * std::acos(-1.0) / 180);
  const double s = std::sin(degrees * std::acos(-1.0) / 180);
  if (axis == 0) return {{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}};
  if (axis == 1) return {{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}};
  return {{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
}

double WorstDifference(const Bt4X4DoubleMat& rows, const Columns& columns) {
  double worst = 0;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      const double want = columns[static_cast<std::size_t>(c)][static_cast<std::size_t>(r)];
      worst = std::max(worst, std::abs(rows(r, c) - want));
    }
  }
  return worst;
}

// The values of a body's transforms, by id, in a frame of which every variable is held: constants,
// factors and variables that several transforms share.
std::array<double, 7> ValuesIn(const BaUnlockedBodyMap& map, const std::vector<double>& frame) {
  std::array<double, 7> values = {};
  for (const BaUnlockedTransform& transform : map.transforms()) {
    double& value = values[static_cast<std::size_t>(transform.id())];
    if (!transform.isCombination()) value = frame[static_cast<std::size_t>(transform.sysVarId())];
    if (transform.isCombination()) value = static_cast<double>(transform.constant());
    for (const auto& term : transform.terms()) {
      value +=
          static_cast<double>(term.coefficient) * frame[static_cast<std::size_t>(term.sysvar_id)];
    }
  }
  return values;
}

TEST(BaPose, EveryOrderMovesAsItsMatricesMultipliedOut) {
  std::mt19937 random(16);
  const auto real = [&random] { return std::uniform_real_distribution<double>(-200, 200)(random); };
  const auto below = [&random](unsigned n) { return static_cast<int>(random() % n); };
  int order[] = {1, 2, 3, 4, 5, 6};
  do {
    BaUnlockedBodyMap map(1, {}, {});
    for (const int id : order) {
      map.setTransform(id, *CreateTransform(id, below(5)));
      if (below(3) == 0) {
        map.setTransform(id, *CreateTransform(id, static_cast<float>(real()), {below(4) + 1, 7, 7},
                                              {0.5F, -1.25F, 0.1F}));
      }
    }
    // Variable 0 is nothing; 7 is held by no frame.
    std::vector<double> values = {0, real(), real(), real(), real(), 0, 0, 0};
    BaFrame frame;
    for (int id = 1; id <= 4; ++id) frame.set(id, values[static_cast<std::size_t>(id)]);
    const std::array<double, 7> by_id = ValuesIn(map, values);
    Columns want = Move(0, 0);
    for (const int id : order) {
      const auto axis = static_cast<std::size_t>((id - 1) % 3);
      const double value = by_id[static_cast<std::size_t>(id)];
      want = Times(want, id < 4 ? Move(axis, value) : Turn(axis, value));
    }
    EXPECT_LT(WorstDifference(map.matrix(frame), want), 1e-11);
    const BaBodyPose pose = map.pose(frame);
    for (int id = 1; id <= 6; ++id) EXPECT_EQ(pose[id], by_id[static_cast<std::size_t>(id)]) << id;
  } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST(BaPose, ChildrenMoveWithTheirParents) {
  // A shoulder that is turned a quarter about z at rest, and an elbow ten units along its x.
  Bt3X3FloatMat turned;
  turned(0, 0) = turned(1, 1) = 0;
  turned(0, 1) = 1;
  turned(1, 0) = -1;
  const BtCoordSystem shoulder_rest(turned, {1, 2, 3});
  const BtCoordSystem elbow_rest(Bt3X3FloatMat(), {10, 0, 0});
  const BaUnlockedBodyMap shoulder(1, {6, 1, 2, 3, 5, 4}, {1, 0, 0, 0, 0, 2});
  const BaUnlockedBodyMap elbow(2, {1, 2, 3, 4, 5, 6}, {0, 3, 0, 0, 0, 0});
  BaFrame frame;
  frame.set(1, 4);
  frame.set(2, std::acos(0.0));
  frame.set(3, 0.5);
  const BaVariableUnits units = {.angle = 1, .length = 2};
  const Bt4X4DoubleMat global_shoulder =
      shoulder.matrix(frame, units) * Bt4X4DoubleMat(shoulder_rest.matrix());
  const Bt4X4DoubleMat global_elbow =
      elbow.matrix(frame, units) * Bt4X4DoubleMat(elbow_rest.matrix()) * global_shoulder;
  // Half a turn in all: the shoulder moves 8 and the elbow stands 10 along -x, 1 along -y.
  const Columns half_turn = {
      {{-1, 0, 0, 1 - 8 - 10}, {0, -1, 0, 2 - 1}, {0, 0, 1, 3}, {0, 0, 0, 1}}};
  EXPECT_LT(WorstDifference(global_elbow, half_turn), 1e-6);
}

// What a variable drives, a line each.
std::string DrivenLines(const BaUnlockedMapping& mapping, int var_id) {
  std::ostringstream os;
  for (const BaUnlockedMapping::Driven& thing : mapping.drivenBy(var_id)) {
    os << static_cast<int>(thing.kind) << ' ' << thing.id << ' ' << thing.transform_id << ' '
       << thing.slider_group.view() << ' ' << thing.slider.view() << ' ' << thing.factor << '\n';
  }
  return os.str();
}

TEST(BaPose, MappingsTellAllThatAVariableDrives) {
  std::istringstream is(
      MappingText(50, 2,
                  BodyRecord(5, 1) + "2\n6 5 4 3 2 1\n2\n0\n-4 1 2 0.5 3 4 2 0.25\n0\n0\n-1 9\n" +
                      "MATERIAL_TEXTURE_INDEX_MAPS {\n3 2\n}\nBLEND_EFFECT_MAP {\nSLIDER_GROUP: g\n"
                      "SLIDERS {\nsmile 2\nfrown 41\n}\n}\n"));
  BaUnlockedMapping mapping;
  ASSERT_TRUE(mapping.scanFrom(is, false));
  theExceptObj.clear();
  EXPECT_EQ(mapping.numSysVars(), 6);
  EXPECT_EQ(mapping.highestSysVarUsed(), 41);
  EXPECT_EQ(mapping.numSysVarsStated(), 50);
  EXPECT_EQ(BaHighestSysVarKnown(mapping), 50);
  EXPECT_EQ(DrivenLines(mapping, 2),
            "0 5 2   1\n0 2 1   1\n0 2 3   0.75\n1 3 0   1\n2 0 0 g smile 1\n");
  EXPECT_EQ(DrivenLines(mapping, 3), "0 5 3   1\n0 2 3   4\n");
  EXPECT_EQ(DrivenLines(mapping, 7), "");
  EXPECT_EQ(mapping.allDriven().at(41).front().slider, "frown");
  EXPECT_EQ(mapping.allDriven().size(), 7U);

  BaUnlockedMapping outer;
  ASSERT_TRUE(outer.merge(mapping, 0, 100));
  EXPECT_EQ(outer.numSysVarsStated(), 150);
}

}  // namespace
