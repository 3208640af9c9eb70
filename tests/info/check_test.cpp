// "check" names each fault, and the converter agrees on which of them are errors.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "info/runtool.h"
#include "main/runprogram.h"

namespace {

constexpr const char* kModel = R"(Zov Graphic Model File
v1.30
X
 root
 1
 ReferenceSystemZero
 0
 1 0 0
 0 1 0
 0 0 1
 0 0 0
X
 arm
 2
 root
 1
 1 0 0
 0 1 0
 0 0 1
 5 0 0
M 1 skin
 3 1 1 1
 100 1 "skin.png" -1
 0
P 2 1 4
 0 0 0 0 0 -1
 1 0 4 0 0 -1
 1 1 4 4 0 3 0.5 1 -1
 0 1 0 4 0 -1
)";
constexpr const char* kMapping = R"(Zov Graphic Mapping File
v1.0
12
2
1
1 2 3 6 5 4
1 2 3 4 5 6
2
1 2 3 6 5 4
7 8 9 10 11 12
)";
// A document, for what legacy text does not hold. The mapping drives a body that it has not.
#define SLIDERS "SLIDER_GROUP {\n  NAME: face\n  SLIDERS {\n    smile\n  }\n}\n"
constexpr const char* kDocument = R"(Zov Graphic Model File
v2.00
UNITS {
  LENGTH: 1 INCHES
  ANGLE: 1 RADIANS
}
BODY {
  NAME: root
  ID: 1
  COORDINATE_SYSTEM {
    TRANSLATION: 0 0 0
    ROTATION: 0 0 0 X Y Z
  }
  PARENT_NAME: GLOBAL
}
)" SLIDERS;

struct Edit {
  std::string from;
  std::string to;
};

struct CheckCase {
  const char* code;  // empty for a sound file
  int status;
  std::vector<Edit> model;
  std::vector<Edit> mapping = {};
  const char* text = kModel;
};

std::string Edited(std::string text, const std::vector<Edit>& edits) {
  for (const Edit& edit : edits) {
    const std::size_t place = text.find(edit.from);
    EXPECT_NE(place, std::string::npos) << edit.from;
    text.replace(place, edit.from.size(), edit.to);
  }
  return text;
}

const Edit kReparent = {"root\n 1\n 1 0 0", "world\n 0\n 1 0 0"};

const Edit kIncludePart = {SLIDERS, "INCLUDE {\n  FILE_NAME: part.mdl\n}\n"};
const Edit kIncludeItself = {SLIDERS, "INCLUDE {\n  FILE_NAME: model.mdl\n}\n"};

const CheckCase kCases[] = {
    {"", 0, {}},
    {"left-handed", 1, {{"0 0 1\n 5", "0 0 -1\n 5"}}},
    {"left-handed", 1, {{"0 0 1\n 5", "0 1 0\n 5"}}},
    {"body-name-clash", 1, {{" arm\n", " root\n"}}},
    {"body-name-world", 1, {{" arm\n", " GLOBAL\n"}}},
    {"number-out-of-range", 1, {{" 5 0 0\nM", " 3e38 0 0\nM"}}},
    {"mapped-body-missing", 1, {}, {{"6\n2\n", "6\n7\n"}}},
    {"rotation-axes", 1, {}, {{"2\n1 2 3 6 5 4\n7", "2\n1 2 3 6 5 5\n7"}}},
    {"rotation-axes", 1, {}, {{"2\n1 2 3 6 5 4\n7", "2\n1 2 3 6 3 2\n7"}}},
    {"model-unreadable", 2, {{"P 2 1 4", "P 2 1 5"}}},
    {"model-unreadable", 2, {{"Zov", "Zox"}}},
    {"version-unsupported", 2, {{"v1.30", "v3.00"}}},
    {"parent-missing", 2, {{"root\n 1\n 1 0 0", "root\n 8\n 1 0 0"}}},
    {"parent-circle", 2, {{"root\n 1\n 1 0 0", "root\n 2\n 1 0 0"}}},
    {"body-id-duplicate", 2, {{" arm\n 2", " arm\n 1"}}},
    {"body-id-range", 2, {{" arm\n 2", " arm\n 99999999"}}},
    {"material-missing", 2, {{"P 2 1 4", "P 2 7 4"}}},
    {"mapping-unreadable", 2, {}, {{"10 11 12", "10 x 12"}}},
    {"body-mapped-twice", 2, {}, {{"6\n2\n", "6\n1\n"}}},
    {"body-unmapped", 0, {}, {{"12\n2\n1", "6\n1\n1"}, {"2\n1 2 3 6 5 4\n7 8 9 10 11 12\n", ""}}},
    {"variable-shared", 0, {}, {{"12\n2\n", "11\n2\n"}, {"10 11 12", "10 11 11"}}},
    {"variable-count", 0, {}, {{"12\n2\n", "13\n2\n"}}},
    {"slider-unknown",
     0,
     {},
     {{"11 12\n", "11 12\nBLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 3\n}\n}\n"}}},
    {"texture-map-unknown", 0, {}, {{"11 12\n", "11 12\nMATERIAL_TEXTURE_INDEX_MAPS {\n9 1\n}\n"}}},
    {"scaled-transform", 0, {{"0 1 0\n 0 0 1\n 5", "0 2 0\n 0 0 1\n 5"}}},
    {"weight-above-one", 0, {{"3 0.5 1", "3 1.5 1"}}},
    {"weight-negative", 0, {{"3 0.5 1", "3 -0.5 1"}}},
    {"flex-target-missing", 0, {{"3 0.5 1", "3 0.5 0"}}},
    {"flex-outside-chain", 0, {kReparent}},
    {"texture-missing", 0, {{"\"skin.png\"", "\"skim.png\""}}},
    {"texture-unreadable", 0, {{"\"skin.png\"", "\".\""}}},
    {"texture-no-picture", 0, {{"\"skin.png\"", "\"model.mdl\""}}},
    {"polygon-nonplanar", 0, {{"1 1 4 4 0", "1 1 4 4 3"}}},
    {"polygon-degenerate",
     0,
     {{"P 2 1 4", "P 2 1 3\n 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 2 0 0 -1\nP 2 1 4"}}},
    {"polygon-degenerate", 0, {{"P 2 1 4", "P 2 1 2\n 0 0 0 0 0 -1 0 0 1 0 0 -1\nP 2 1 4"}}},
    {"vertex-duplicate", 0, {{"P 2 1 4\n", "P 2 1 5\n 0 0 0 0 0 -1\n"}}},
    {"name-double-colon", 0, {{" arm\n", " left::arm\n"}}},
    {"name-control", 0, {{" arm\n", " a\x01rm\n"}}},
    {"name-encoding", 0, {{" arm\n", " \xE9paule\n"}}},
    {"name-long", 0, {{" arm\n", " " + std::string(64, 'a') + "\n"}}},
    {"name-clash", 0, {{" arm\n", " Root\n"}}},
    {"name-clash", 0, {{" root\n 1", " arm_mesh\n 1"}}},
    {"material-unused", 0, {{"P 2 1 4", "M 2 bone\n 0\nP 2 1 4"}}},
    {"material-name-clash",
     0,
     {{"P 2 1 4", "M 2 skin\n 0\nP 2 2 3\n 0 0 0 0 9 -1 0 0 1 0 9 -1 0 0 2 1 9 -1\nP 2 1 4"}}},
    {"id-gap", 0, {{" arm\n 2", " arm\n 9"}, {"P 2 1", "P 9 1"}}, {{"6\n2\n", "6\n9\n"}}},
    {"not-converted", 0, {{"P 2 1 4", "B 1 1 0 0 0 5 0 0\nP 2 1 4"}}},
    {"left-out", 0, {{"P 2 1 4", "f 2 1 1 1\n 0 0 0 0 -1\nP 2 1 4"}}},
    {"slider-unmapped", 1, {}, {}, kDocument},
    {"units-not-inches", 1, {{"INCHES", "METERS"}}, {}, kDocument},
    {"units-differ", 0, {kIncludePart, {"INCHES", "METERS"}}, {}, kDocument},
    {"include-circle", 2, {kIncludeItself}, {}, kDocument},
};

std::set<std::string> CodesOf(const nlohmann::json& answer) {
  std::set<std::string> codes;
  for (const auto& finding : answer["findings"]) codes.insert(finding["code"]);
  return codes;
}

void Check(const TestFolder& folder, const CheckCase& row) {
  folder.write("skin.png", ReadFile(Sample("fox_fox_material.png")));
  folder.write("part.mdl", Edited(kDocument, {{"root", "part"}, {"ID: 1", "ID: 2"}}));
  const std::string model = folder.write("model.mdl", Edited(row.text, row.model));
  const std::string mapping = folder.write("map.dof", Edited(kMapping, row.mapping));
  const ToolResult result = RunTool({"check", "--json", model, mapping});
  EXPECT_EQ(result.status, row.status) << result.out << result.err;
  const std::set<std::string> codes = CodesOf(nlohmann::json::parse(result.out));
  EXPECT_TRUE(*row.code == '\0' ? codes.empty() : codes.contains(row.code)) << result.out;
  EXPECT_EQ(RunTool({"check", model, mapping}).status, row.status);
  const RunResult run = RunKestrix({model, mapping, folder.path("out.fbx")});
  EXPECT_EQ(run.status != 0, row.status != 0) << run.err;
}

TEST(Check, NamesEachFaultThatTheConverterMeets) {
  int number = 0;
  for (const CheckCase& row : kCases) {
    SCOPED_TRACE(std::to_string(number++) + " " + row.code);
    Check(TestFolder(), row);
  }
}

TEST(Check, FindsNoErrorInTheSamples) {
  for (const char* name :
       {"fox", "fox-v2", "robot", "robot-v2", "walker", "walker-v2", "stage-v2"}) {
    const std::string stem = std::string(name).substr(0, std::string(name).find('-'));
    const ToolResult result =
        RunTool({"check", Sample(std::string(name) + ".mdl"), Sample(stem + ".dof")});
    EXPECT_EQ(result.status, 0) << name << result.out;
  }
}

}  // namespace
