// "convert-model", "diff" and "picture".
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <sstream>

#include "main/runprogram.h"
#include "support/legacyerrors.h"
#include "tool/runtool.h"

namespace {

using Codes = std::set<std::string>;

// The codes of what differs, "?" where the files cannot be compared.
Codes DiffCodes(const std::string& a, const std::string& b) {
  const ToolResult result = RunTool({"diff", "--json", a, b});
  const auto answer = nlohmann::json::parse(result.out);
  Codes codes;
  for (const auto& difference : answer["differences"]) codes.insert(difference["code"]);
  EXPECT_EQ(result.status, codes.empty() ? 0 : 1) << result.out << result.err;
  EXPECT_EQ(answer["same"], codes.empty());
  return codes;
}

// Lights have no form in documents, sliders none in legacy text, and a warning says so.
TEST(ConvertModel, KeepsWhatTheDialectHolds) {
  const struct {
    std::string model, dialect;
    Codes lost = {};
    std::string warning = "";
  } rows[] = {
      {"fox.mdl", "document"},
      {"fox-v2.mdl", "legacy"},
      {"fox.mdl", "legacy"},
      {"robot.mdl", "document", {"count-changed"}, "lights"},
      {"robot.mdl", "legacy"},
      {"robot-v2.mdl", "document"},
      {"robot-v2.mdl", "legacy", {"slider-removed", "weights-changed"}, "sliders"},
      {"walker.mdl", "document"},
      {"walker-v2.mdl", "legacy"},
      {"stage-v2.mdl", "document"},
  };
  const TestFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.model + " to " + row.dialect);
    const std::string out = folder.path("out.mdl");
    const ToolResult result =
        RunTool({"convert-model", "--to", row.dialect, Sample(row.model), out});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.err.find(row.warning), std::string::npos) << result.err;
    EXPECT_EQ(result.err.empty(), row.warning.empty()) << result.err;
    EXPECT_EQ(DiffCodes(Sample(row.model), out), row.lost);
  }
}

// A body goes, one gets another id, and a second fox comes with its own mapping.
TEST(ConvertModel, TakesTheMappingAlong) {
  const TestFolder folder;
  const std::string model = folder.path("out.mdl");
  const std::string mapping = folder.path("out.dof");
  const std::string fox = Sample("fox.mdl");
  const std::string dof = Sample("fox.dof");
  const std::vector<std::string> edits = {"convert-model", "--remove-body", "b_Tail02_013",
                                          "--renumber",    "7=77",          "--add",
                                          fox + ",100,_b"};
  ToolResult result =
      RunTool(Joined({edits, {"--dof", dof + "=" + mapping, "--add-dof", dof, fox, model}}));
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  result = RunTool({"info", "--json", mapping});
  const auto answer = nlohmann::json::parse(result.out);
  std::set<int> ids;
  for (const auto& body : answer["files"][0]["mapping"]["bodies"])
    ids.insert(body["id"].get<int>());
  EXPECT_EQ(ids.size(), 43);  // 22 of each, without one
  EXPECT_TRUE(ids.contains(77) && ids.contains(107) && !ids.contains(7)) << result.out;
  EXPECT_EQ(RunTool({"check", model, mapping}).status, 0);

  EXPECT_NE(RunTool(Joined({edits, {fox, model}})).err.find("--dof IN=OUT"), std::string::npos);
  for (const std::string& wrong : {std::string("in.dof"), std::string("=out.dof"), dof + "="}) {
    EXPECT_EQ(RunTool({"convert-model", "--dof", wrong, fox, model}).status, 2);
  }
}

// Rest transforms become angles and matrices again; everything else comes back to the last bit.
TEST(ConvertModel, KeepsNumbersExactly) {
  const TestFolder folder;
  const std::string document = folder.path("a.mdl");
  const std::string legacy = folder.path("b.mdl");
  ASSERT_EQ(RunTool({"convert-model", Sample("fox.mdl"), document}).status, 0);
  ASSERT_EQ(RunTool({"convert-model", "--to", "legacy", document, legacy}).status, 0);
  const ToolResult result = RunTool({"diff", "--tolerance", "0", Sample("fox.mdl"), legacy});
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line.starts_with("body-turned") || line.ends_with("differences")) << line;
  }
}

ToolResult EditWalker(const std::vector<std::string>& options, const std::string& out) {
  return RunTool(Joined({{"convert-model"}, options, {Sample("walker.mdl"), out}}));
}

TEST(ConvertModel, Edits) {
  const std::pair<std::vector<std::string>, Codes> rows[] = {
      {{"--remove-bones"}, {"bones-changed"}},
      {{"--remove-bones", "--remove-unused-materials"}, {"bones-changed", "material-removed"}},
      {{"--triangulate"}, {"polygon-count", "polygons-changed"}},
      {{"--renumber", "3=300"}, {"body-renumbered"}},
      {{"--renumber", "all"}, {}},
      {{"--remove-body", "Head"}, {"body-removed", "body-reparented", "body-moved"}},
      {{"--add", Sample("fox.mdl") + ",1000,_fox"}, {"body-added", "material-added"}},
  };
  const TestFolder folder;
  for (const auto& [options, codes] : rows) {
    SCOPED_TRACE(options[0]);
    const std::string out = folder.path("out.mdl");
    const ToolResult result = EditWalker(options, out);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(DiffCodes(Sample("walker.mdl"), out), codes);
    // What was written converts; textures of other folders are found from the new one.
    EXPECT_EQ(RunTool({"check", out}).out.find("texture-missing"), std::string::npos);
  }
}

TEST(ConvertModel, WritesNothingWhereItFails) {
  const TestFolder folder;
  const std::string out = folder.write("out.mdl", "older");
  const std::vector<std::string> rows[] = {
      {"--add", folder.path("none.mdl")},
      {"--add", Sample("walker.mdl")},  // the same ids
      {"--add", Sample("fox.mdl") + ",x,y"},
      {"--remove-body", "nobody"},
      {"--renumber", "3=4"},
      {"--renumber", "3"},
      {"--renumber", "3=99999999"},
      {"--to", "fbx"},
  };
  for (const auto& options : rows) {
    SCOPED_TRACE(options[1]);
    EXPECT_EQ(EditWalker(options, out).status, 2);
    EXPECT_EQ(ReadFile(out), "older");
    EXPECT_EQ(folder.names().size(), 1U);
  }
  const std::string packed = folder.path("out.mdl.gz");
  EXPECT_EQ(RunTool({"convert-model", Sample("fox.mdl"), packed}).status, 0);
  EXPECT_EQ(DiffCodes(Sample("fox.mdl"), packed), Codes());
  EXPECT_EQ(RunTool({"convert-model", Sample("fox.mdl"), folder.path("no/out.mdl")}).status, 2);
  // No input may be the output: neither the model nor one that is added.
  const std::string prop = folder.write("prop.mdl", kBasicModel);
  const std::vector<std::vector<std::string>> overwriting = {
      {"convert-model", prop, prop},
      {"convert-model", "--add", prop + ",500,_p", Sample("fox.mdl"), prop},
      {"picture", prop, "-o", prop}};
  for (const std::vector<std::string>& arguments : overwriting) {
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("is one of the files that were read"), std::string::npos);
    EXPECT_EQ(ReadFile(prop), kBasicModel);
  }
}

// Two bodies and two materials of one name each, and otherwise different.
const std::string kTwins = kBasicModel + LegacyBody("arm", 2, 1) +
                           "X\narm\n3\n\n2\n0 1 0 -1 0 0 0 0 1 5 6 7\nM 2 skin\n3 1 0 0\n0\n"
                           "F 2 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n"
                           "F 3 2 3 0 0 0 -1 2 0 0 -1 0 2 0 -1\n";

TEST(Diff, SeesEachChange) {
  const struct {
    std::string file, from, to;
    Codes codes;
  } rows[] = {
      {"fox.mdl", "10.530868", "10.530869", {}},
      {"fox.mdl", "10.530868", "10.540868", {"body-moved"}},
      {"fox.mdl",
       "  1.000000  0.000000  0.000000",
       "  0.990000  0.000000  0.000000",
       {"body-turned"}},
      {"fox.mdl",
       "b_Hip_01\n 3\n",
       "b_Hop_01\n 3\n",
       {"body-added", "body-removed", "body-reparented", "weights-changed"}},
      {"fox.mdl", "fox_fox_material.png", "other.png", {"texture-changed"}},
      {"fox.mdl", " 3 1 1 1", " 3 1 0 1", {"material-changed"}},
      {"fox.dof", "1 2 3", "2 1 3", {"order-changed"}},
  };
  const TestFolder folder;
  folder.write("fox_fox_material.png", ReadFile(Sample("fox_fox_material.png")));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.from);
    std::string text = ReadFile(Sample(row.file));
    const std::size_t place = text.find(row.from);
    ASSERT_NE(place, std::string::npos);
    text.replace(place, row.from.size(), row.to);
    EXPECT_EQ(DiffCodes(Sample(row.file), folder.write(row.file, text)), row.codes);
  }
  // Those of one name are matched in order; a third one is one that is added.
  const std::string twins = folder.write("twins.mdl", kTwins);
  EXPECT_EQ(DiffCodes(twins, twins), Codes{});
  const std::string triplets =
      folder.write("triplets.mdl", kTwins + "M 4 skin\n0\n" + LegacyBody("arm", 4, 3));
  EXPECT_EQ(DiffCodes(twins, triplets), (Codes{"body-added", "material-added"}));
  EXPECT_EQ(DiffCodes(triplets, twins), (Codes{"body-removed", "material-removed"}));
  EXPECT_EQ(RunTool({"diff", Sample("fox.mdl"), Sample("fox.dof")}).status, 2);
  EXPECT_EQ(RunTool({"diff", "--tolerance", "-1", Sample("fox.mdl"), Sample("fox.mdl")}).status, 2);
}

// Each differs from what comes first in one thing, and in none if only of the other family.
TEST(Diff, FindsWhatDiffersInFbxFiles) {
  const TestFolder folder;
  std::string text = ReadFile(Sample("robot-v2.mdl"));
  text.insert(text.find("  EMISSION"), "  TEXTURE {\n    NAME: a.png\n  }\n");
  folder.write("a.png", "");
  const std::string mapping = ReadFile(Sample("robot.dof"));
  const std::string motion = folder.write("walk.csv", "time,v1\n0,0\n0.04,10\n");
  const std::string quick = folder.write("b/walk.csv", "time,v1\n0,0\n0.04,20\n");
  const std::string later = folder.write("c/walk.csv", "time,v1\n0,0\n0.08,10\n");
  const std::string run = folder.write("run.csv", "time,v1\n0,0\n0.04,10\n");
  const auto convert = [&](const std::string& model, const std::string& dof,
                           const std::vector<std::string>& more) {
    static int files = 0;
    std::string out = folder.path(std::to_string(++files) + ".fbx");
    const std::string robot = folder.write("robot.mdl", model);
    const std::string map = folder.write("robot.dof", dof);
    EXPECT_EQ(RunTool(Joined({{"animate", "-o", out, robot, map}, more})).status, 0);
    return out;
  };
  const struct {
    std::string from, to;
    std::vector<std::string> more;
    Codes codes;
  } rows[] = {
      {"", "", {motion}, {}},
      {"12.1994449 1.97", "13.1994449 1.97", {motion}, {"node-moved"}},
      {"DIFFUSE: 0.3737", "DIFFUSE: 0.4737", {motion}, {"material-changed"}},
      {"      2 4 5\n", "", {motion}, {"polygon-count"}},
      {"", "", {motion, "--scale-factor", "2"}, {"node-moved", "vertices-moved"}},
      {"0.763391 12", "0.5 12", {motion}, {"weights-changed"}},
      {"MATERIAL: Grey", "MATERIAL: Black", {motion}, {"polygon-materials"}},
      {"2.2376879 6.4", "3.2376879 6.4", {motion}, {"shape-changed"}},
      {"", "", {motion, run}, {"take-added"}},
      {"", "", {}, {"take-removed"}},
      {"", "", {quick}, {"keys-changed"}},
      {"", "", {later}, {"take-span", "keys-changed"}},
      {"", "", {motion, "--mesh-per-body"}, {"mesh-added", "node-added"}},
      {"", "", {motion, "--rate", "50"}, {"settings-changed"}},
      {"  TEXTURE {", "  TEXTURE {\n    TYPE: 2D_ENV", {motion}, {"texture-connected"}},
      {"\n16\n17\n18\n", "\n16\n17\n90\n", {motion}, {"property-changed"}},
  };
  const std::string first = convert(text, mapping, {motion});
  for (const auto& row : rows) {
    for (const char* version : {"2011", "2010"}) {
      SCOPED_TRACE(row.to + " " + (row.more.empty() ? "" : row.more.back()) + " " + version);
      std::string model = text;
      std::string dof = mapping;
      std::string& changed = text.find(row.from) == std::string::npos ? dof : model;
      changed.replace(changed.find(row.from), row.from.size(), row.to);
      const Codes codes =
          DiffCodes(first, convert(model, dof, Joined({row.more, {"--mb-version", version}})));
      EXPECT_EQ(codes.empty(), row.codes.empty()) << testing::PrintToString(codes);
      for (const std::string& code : row.codes) {
        EXPECT_TRUE(codes.contains(code)) << testing::PrintToString(codes);
      }
    }
  }
}

// Whatever is changed in a file is told: as a difference, or that it is damaged.
TEST(Diff, SurvivesDamagedFbxFiles) {
  const TestFolder folder;
  for (const char* release : {"2011", "2010"}) {
    const std::string fbx = folder.path("a.fbx");
    ASSERT_EQ(
        RunKestrix({"-mb_version", release, Sample("fox.mdl"), Sample("fox.dof"), fbx}).status, 0);
    const std::string bytes = ReadFile(fbx);
    std::mt19937 random(2);
    for (int round = 0; round < 300; ++round) {
      std::string changed = bytes;
      changed[random() % (round % 2 == 0 ? bytes.size() : 60000)] = static_cast<char>(random());
      const std::string other = folder.write("b.fbx", changed);
      const ToolResult result = RunTool({"diff", fbx, other});
      EXPECT_EQ(result.status == 2, !result.err.empty()) << result.err;
    }
  }
}

TEST(Picture, DrawsEverySampleTheSameEachTime) {
  const TestFolder folder;
  for (const char* const name : {"fox.mdl", "robot-v2.mdl", "walker.mdl", "stage-v2.mdl"}) {
    SCOPED_TRACE(name);
    const auto draw = [&](const char* svg) {
      EXPECT_EQ(RunTool({"picture", "-o", folder.path(svg), Sample(name)}).status, 0);
      return folder.read(svg);
    };
    const std::string text = draw("a.svg");
    EXPECT_LT(text.size(), 100000U);
    EXPECT_EQ(draw("b.svg"), text);
    const auto facts = nlohmann::json::parse(RunTool({"info", "--json", Sample(name)}).out);
    for (const auto& body : facts["files"][0]["model"]["bodies"]) {
      EXPECT_NE(text.find(">" + body["name"].get<std::string>() + "<"), std::string::npos) << body;
    }
  }
}

}  // namespace
