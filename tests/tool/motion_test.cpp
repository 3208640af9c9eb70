// "motion rom", "motion info", "motion resample" and "motion cut".
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "Ba/bamapping.h"
#include "Ba/bamotion.h"
#include "main/runprogram.h"
#include "tool/runtool.h"

namespace {

BaMotion Read(const std::string& file) {
  BaMotion motion;
  EXPECT_TRUE(motion.read(file.c_str())) << file;
  return motion;
}

// Which variable does not rest in a frame; 0 for none, -1 for several.
int Moving(const BaMotion& motion, int frame) {
  int moving = 0;
  for (const int id : motion.sysVarIds()) {
    if (motion.values(id)[static_cast<std::size_t>(frame)] == 0) continue;
    moving = moving == 0 ? id : -1;
  }
  return moving;
}

TEST(Motion, RomSwingsEachVariableInTurnAndSaysSo) {
  const TestFolder folder;
  const std::string file = folder.path("rom.csv");
  const ToolResult made = RunTool({"motion", "rom", Sample("fox.mdl"), Sample("fox.dof"),  //
                                   "--rate", "10", "--seconds", "0.7", "--swing", "30",    //
                                   "--distance", "4", "-o", file});
  EXPECT_EQ(made.err + made.out, "");
  EXPECT_EQ(made.status, 0);
  const BaMotion motion = Read(file);
  BaUnlockedMapping mapping;
  ASSERT_TRUE(mapping.read(Sample("fox.dof").c_str(), true));
  auto all_driven = mapping.allDriven();
  std::erase_if(all_driven, [](const auto& item) {
    return item.second[0].kind == BaUnlockedMapping::Driven::Kind::TextureIndex;
  });
  ASSERT_EQ(motion.sysVarIds().size(), all_driven.size());
  EXPECT_EQ(motion.rate(), 10);
  // Seven frames become eight, so that both ends are shown.
  ASSERT_EQ(motion.numFrames(), 8 * static_cast<int>(all_driven.size()) + 1);
  ASSERT_EQ(motion.comments().size(), all_driven.size() + 1);
  for (std::size_t turn = 0; turn < all_driven.size(); ++turn) {
    const int id = motion.sysVarIds()[turn];
    const int first = 8 * static_cast<int>(turn);
    const std::string comment(motion.comments()[turn + 1].view());
    EXPECT_NE(comment.find(" s: v" + std::to_string(id) + ": "), std::string::npos) << comment;
    for (int i = 0; i < 8; ++i) EXPECT_EQ(Moving(motion, first + i), i % 4 == 0 ? 0 : id);
    const BaFrame up = motion.frame(first + 2);
    const BaFrame down = motion.frame(first + 6);
    EXPECT_EQ(up(id), -down(id));
    double most = 0;  // as a part of what is allowed
    for (const auto& driven : all_driven.at(id)) {
      const double limit = driven.transform_id >= kBaFirstRotationId ? 30 : 4;
      most = std::max(most, std::abs(up(id) * driven.factor) / limit);
    }
    EXPECT_NEAR(most, 1, 1e-6) << comment;
  }
  EXPECT_EQ(motion.comments()[1], "0 to 0.8 s: v1: _rootJoint x translation");
}

TEST(Motion, RomMovesSlidersToOneSideAndTurnsInRadians) {
  const TestFolder folder;
  const std::string file = folder.path("rom.csv");
  const ToolResult made = RunTool({"motion", "rom", Sample("robot-v2.mdl"), Sample("robot.dof"),
                                   "--angles", "radians", "-o", file});
  EXPECT_EQ(made.status, 0) << made.err;
  const BaMotion motion = Read(file);
  BaUnlockedMapping mapping;
  ASSERT_TRUE(mapping.read(Sample("robot.dof").c_str(), true));
  int sliders = 0;
  int rotations = 0;
  for (const auto& [id, driven] : mapping.allDriven()) {
    const auto values = motion.values(id);
    if (values.empty() || driven.size() != 1 || driven[0].factor != 1) continue;
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
    if (driven[0].kind == BaUnlockedMapping::Driven::Kind::Slider) {
      ++sliders;
      EXPECT_EQ(*lowest, 0);
      EXPECT_EQ(*highest, 1);
    } else if (driven[0].transform_id >= kBaFirstRotationId) {
      ++rotations;
      EXPECT_NEAR(static_cast<double>(*highest), std::atan(1.0), 1e-6);
    }
  }
  EXPECT_GT(sliders, 0);
  EXPECT_GT(rotations, 0);
}

constexpr const char* kArm =
    "Zov Graphic Mapping File\nv1.0\n3\n1\n2\n1 2 3 4 5 6\n1\n0\n0\n-2 0.5 3 -2\n0\n0\n";

TEST(Motion, InfoTellsWhatIsHeldAndWhatIsMissing) {
  const TestFolder folder;
  const std::string motion = folder.write("a.csv", "# c\ntime,v3,9\n1,-2,0\n1.5,4,0\n");
  const std::string dof = folder.write("a.dof", kArm);
  EXPECT_EQ(RunTool({"motion", "info", motion}).out,
            motion +
                "\n  motion    2 frames, 0.5 s, from 1 s to 1.5 s\n"
                "  rate      2 frames per second\n"
                "  variables 2\n"
                "  # c\n"
                "\nVariables\n"
                "  variable  lowest  highest\n"
                "  v3        -2      4\n"
                "  v9        0       0\n");
  const std::string told = RunTool({"motion", "info", motion, "--dof", dof}).out;
  for (const char* line :
       {"  v3        -2      4        body 2 x rotation * -2\n",
        "  v9        0       0        nothing\n", "  v1        body 2 x translation\n"}) {
    EXPECT_NE(told.find(line), std::string::npos) << told;
  }
  const ToolResult result = RunTool({"motion", "info", "--json", motion, "--dof", dof});
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer["motion"]["missing"].dump(),
            R"([{"drives":[{"body":2,"factor":1.0,"transform":"tx"}],"id":1}])");
  EXPECT_EQ(answer["motion"]["variables"][0].dump(),
            R"({"drives":[{"body":2,"factor":-2.0,"transform":"rx"}],)"
            R"("highest":4.0,"id":3,"lowest":-2.0})");
}

TEST(Motion, ResampleAndCutWriteWhatTheySay) {
  const TestFolder folder;
  const std::string in = folder.write("in.csv", "frame,1\n24,0\n25,1\n26,4\n27,5\n");
  const std::string out = folder.path("out.csv");
  const struct {
    std::vector<std::string> words;
    std::string text;
  } rows[] = {
      {{"resample", "--rate", "24", "--to", "48"},
       "time,v1\n1.00000000000000000,0\n1.0208333333333333,0.5\n1.0416666666666667,1\n"
       "1.0625,2.5\n1.0833333333333333,4\n1.1041666666666667,4.5\n1.125,5\n"},
      {{"cut", "--rate", "24", "--from", "1.04", "--to", "1.1"},
       "time,v1\n1.0416666666666667,1\n1.0833333333333333,4\n"},
      {{"cut", "--to", "0.84"}, "time,v1\n0.8,0\n0.8333333333333334,1\n"},
  };
  for (const auto& row : rows) {
    const ToolResult result = RunTool(Joined({{"motion"}, row.words, {in, "-o", out}}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(folder.read("out.csv"), row.text);
  }
}

TEST(Motion, SaysWhatIsWrongAndWritesNothing) {
  const TestFolder folder;
  const std::string good = folder.write("good.csv", "time,1\n0,1\n100000,2\n");
  const std::string bad = folder.write("bad.csv", "time,12\n0,x\n");
  const std::string still = folder.write(
      "still.dof", "Zov Graphic Mapping File\nv1.0\n0\n1\n1\n1 2 3 4 5 6\n0\n0\n0\n0\n0\n0\n");
  const std::string other = folder.write(
      "other.dof", "Zov Graphic Mapping File\nv1.0\n0\n1\n99\n1 2 3 4 5 6\n0\n0\n0\n0\n0\n0\n");
  const std::string fox = Sample("fox.mdl");
  const std::string fox_dof = Sample("fox.dof");
  const std::string positive = ": the value must be a number above zero\n";
  const struct {
    std::vector<std::string> words;
    std::string complaint;
  } rows[] = {
      {{"cut", bad}, bad + ":2:3: error: variable 12: not a number: 'x'\n"},
      {{"resample", bad + "x", "--to", "30"}, bad + "x: Unable to open file '" + bad + "x'.\n"},
      {{"cut", good, "--from", "1", "--to", "9"},
       good + ": no frames lie there: the motion goes from 0 to 100000 s\n"},
      {{"resample", good, "--to", "1e9"}, good + ": 1e+14 frames are too many\n"},
      {{"resample", good, "--to", "0"}, "--to" + positive},
      {{"cut", good, "--rate", "-1"}, "--rate" + positive},
      {{"rom", fox, fox_dof, "--seconds", "nan"}, "--seconds" + positive},
      {{"rom", fox, fox_dof, "--seconds", "1e6"},
       fox_dof + ": 63 variables in 1890000001 frames are too many: give less seconds or a lower "
                 "rate.\n"},
      {{"rom", fox, still}, still + ": The mapping has no variables that move anything.\n"},
      {{"rom", fox, other},
       other + ": The dof specifies a body with id 99, but there is no such body in the model.\n"},
      {{"rom", fox, fox}, fox + ":1:1: error: The file is a model; the model comes first"},
  };
  for (const auto& row : rows) {
    const ToolResult result =
        RunTool(Joined({{"motion"}, row.words, {"-o", folder.path("out.csv")}}));
    EXPECT_EQ(result.status, 2) << row.complaint;
    // What has a place begins with it.
    const bool has_place = row.complaint.find(": error: ") != std::string::npos;
    EXPECT_EQ(result.err.find((has_place ? "" : "kestrix-tool: ") + row.complaint), 0U)
        << result.err;
  }
  EXPECT_EQ(folder.names(),
            (std::vector<std::string>{"bad.csv", "good.csv", "other.dof", "still.dof"}));
  EXPECT_EQ(RunTool({"motion"}).status, 2);
}

}  // namespace
