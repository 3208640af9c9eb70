// "check" names each fault, and the converter agrees on which of them are errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "main/runprogram.h"
#include "support/documenterrors.h"
#include "tool/runtool.h"

namespace {

// A model, and in the same text its mapping.
const std::string kMapping =
    "Zov Graphic Mapping File\nv1.0\n12\n2\n"
    "1\n1 2 3 6 5 4\n1 2 3 4 5 6\n2\n1 2 3 6 5 4\n7 8 9 10 11 12\n";
const std::string kModel =
    "Zov Graphic Model File\nv1.30\n"
    "X\nroot\n1\nReferenceSystemZero\n0\n1 0 0 0 1 0 0 0 1 0 0 0\n"
    "X\narm\n2\nroot\n1\n1 0 0 0 1 0 0 0 1 5 0 0\n"
    "M 1 skin\n3 1 1 1\n100 1 \"skin.png\" -1\n0\n"
    "P 2 1 4 0 0 0 0 0 -1 1 0 4 0 0 -1 1 1 4 4 0 3 0.5 1 -1 0 1 0 4 0 -1\n" +
    kMapping;
// A document, for what legacy text does not hold. The mapping drives a body that it has not.
const std::string kSliders = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nsmile\n}\n}\n";
const std::string kDocument = kDocumentHeader + "UNITS {\nLENGTH: 1 INCHES\nANGLE: 1 RADIANS\n}\n" +
                              DocumentBody("root", "GLOBAL", "ID: 1\n") + kSliders + kMapping;

using Edits = std::vector<std::pair<std::string, std::string>>;  // from, to

// A cube of 20 inches on a body.
const std::string kCube =
    "MATERIAL {\nNAME: m\nDIFFUSE: 1 1 1\nALPHA: 1\n}\n"
    "VERTICES {\nNAME: v\nCOORDINATES {\n0 0 0\n20 0 0\n20 20 0\n0 20 0\n"
    "0 0 20\n20 0 20\n20 20 20\n0 20 20\n}\n}\n"
    "GEOMETRY {\nBODY: root\nVERTICES: v\nMATERIAL_GROUP {\nMATERIAL: m\nPOLYGONS {\n"
    "4 3 2 1\n5 6 7 8\n1 2 6 5\n2 3 7 6\n3 4 8 7\n4 1 5 8\n}\n}\n}\n";
const std::string kMap1 = "Zov Graphic Mapping File\nv1.0\n6\n1\n1\n1 2 3 6 5 4\n1 2 3 4 5 6\n";
const std::string kSolid = kDocumentHeader + "UNITS {\nLENGTH: 1 INCHES\nANGLE: 1 DEGREES\n}\n" +
                           DocumentBody("root", "GLOBAL", "ID: 1\n") + kCube + kMap1;

// A body with a place.
std::string Joint(int id, const std::string& name, const std::string& parent,
                  const std::string& place) {
  return "BODY {\nNAME: " + name + "\nID: " + std::to_string(id) +
         "\nCOORDINATE_SYSTEM {\nTRANSLATION: " + place +
         "\nROTATION: 0 0 0 X Y Z\n}\nPARENT_NAME: " + parent + "\n}\n";
}
const std::string kFigure =
    kDocumentHeader + Joint(1, "hips", "GLOBAL", "0 40 0") + Joint(2, "foot_L", "hips", "5 -38 0") +
    Joint(3, "foot_R", "hips", "-5 -38 0") + Joint(4, "hand_L", "hips", "9 0 0") +
    Joint(5, "hand_R", "hips", "-9 0 0") + Joint(6, "eye_L", "hips", "1 40 0") +
    Joint(7, "eye_R", "hips", "-1 40 0") + "Zov Graphic Mapping File\nv1.0\n0\n0\n";

// Four bodies that hang from the arm of the model, the bones from body to body, and a large
// triangle.
const std::string kChain =
    "X\nhand\n3\narm\n2\n1 0 0 0 1 0 0 0 1 5 0 0\nX\na\n4\nhand\n3\n1 0 0 0 1 0 0 0 1 5 0 0\n"
    "X\nb\n5\na\n4\n1 0 0 0 1 0 0 0 1 5 0 0\nX\nc\n6\nb\n5\n1 0 0 0 1 0 0 0 1 5 0 0\n";
const std::string kBones =
    "B 1 1 0 0 0 5 0 0\nB 2 1 0 0 0 5 0 0\nB 3 1 0 0 0 5 0 0\nB 4 1 0 0 0 5 0 0\nB 5 1 0 0 0 5 0 "
    "0\n";
std::string Wide(int body_id) {
  return "F " + std::to_string(body_id) + " 1 3 0 0 0 -1 70 0 0 -1 0 70 0 -1\n";
}

const struct CheckCase {
  const char* code;  // empty for a sound file
  int status;
  Edits edits;
  std::string text = kModel;
} kCases[] = {
    {"", 0, {}},
    {"left-handed", 1, {{"0 0 1 5", "0 0 -1 5"}}},
    {"left-handed", 1, {{"0 0 1 5", "0 1 0 5"}}},
    {"left-handed", 1, {{"1 0 0 0 1 0 0 0 1 5", "5 5 7 5 5 7.000001 1 0 0 5"}}},
    {"body-name-clash", 1, {{"arm\n", "root\n"}}},
    {"body-name-world", 1, {{"arm\n", "GLOBAL\n"}}},
    {"number-out-of-range", 1, {{" 5 0 0\nM", " 3e38 0 0\nM"}}},
    {"mapped-body-missing", 1, {{"6\n2\n", "6\n7\n"}}},
    {"rotation-axes", 1, {{"2\n1 2 3 6 5 4\n7", "2\n1 2 3 6 5 5\n7"}}},
    {"rotation-axes", 1, {{"2\n1 2 3 6 5 4\n7", "2\n1 2 3 6 3 2\n7"}}},
    {"model-unreadable", 1, {{"P 2 1 4", "P 2 1 5"}}},
    {"model-unreadable", 1, {{"Zov", "Zox"}}},
    {"version-unsupported", 1, {{"v1.30", "v3.00"}}},
    {"parent-missing", 1, {{"root\n1\n1 0 0", "root\n8\n1 0 0"}}},
    {"parent-circle", 1, {{"root\n1\n1 0 0", "root\n2\n1 0 0"}}},
    {"body-id-duplicate", 1, {{"arm\n2", "arm\n1"}}},
    {"body-id-range", 1, {{"arm\n2", "arm\n99999999"}}},
    {"material-missing", 1, {{"P 2 1 4", "P 2 7 4"}}},
    {"flex-target-undefined", 1, {{"P 2 1", "F 2 1 3 0 0 0 3 0.5 9 -1 1 0 0 -1 1 1 0 -1\nP 2 1"}}},
    {"variable-overlap",
     1,
     {{"10 11 12",
       "10 11 12\nINCLUDE {\nFILE_NAME: part.dof\nBODY_ID_OFFSET: 9\n"
       "SYSTEM_VARIABLE_ID_OFFSET: 1\n}"}}},
    {"mapping-unreadable", 1, {{"10 11 12", "10 x 12"}}},
    {"body-mapped-twice", 1, {{"6\n2\n", "6\n1\n"}}},
    {"body-unmapped", 0, {{"12\n2\n1", "6\n1\n1"}, {"2\n1 2 3 6 5 4\n7 8 9 10 11 12\n", ""}}},
    {"variable-shared", 0, {{"12\n2\n", "11\n2\n"}, {"10 11 12", "10 11 11"}}},
    {"variable-count", 0, {{"12\n2\n", "13\n2\n"}}},
    {"slider-unknown",
     0,
     {{"11 12\n", "11 12\nBLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 3\n}\n}\n"}}},
    {"texture-map-unknown", 0, {{"11 12\n", "11 12\nMATERIAL_TEXTURE_INDEX_MAPS {\n9 1\n}\n"}}},
    {"scaled-transform", 0, {{"0 1 0 0 0 1 5", "0 2 0 0 0 1 5"}}},
    {"scaled-transform", 0, {{"0 1 0 0 0 1 5", ".6 .8 0 0 0 1 5"}}},
    {"weight-above-one", 0, {{"3 0.5 1", "3 1.5 1"}}},
    {"weight-negative", 0, {{"3 0.5 1", "3 -0.5 1"}}},
    {"flex-target-missing", 0, {{"3 0.5 1", "3 0.5 0"}}},
    {"flex-outside-chain", 0, {{"root\n1\n1 0 0", "world\n0\n1 0 0"}}},
    {"texture-missing", 0, {{"\"skin.png\"", "\"skim.png\""}}},
    {"texture-unreadable", 0, {{"\"skin.png\"", "\".\""}}},
    {"texture-no-picture", 0, {{"\"skin.png\"", "\"model.mdl\""}}},
    {"polygon-nonplanar", 0, {{"1 1 4 4 0", "1 1 4 4 3"}}},
    {"polygon-degenerate", 0, {{"P 2", "P 2 1 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 2 0 0 -1\nP 2"}}},
    {"polygon-degenerate", 0, {{"P 2", "P 2 1 2 0 0 0 0 0 -1 0 0 1 0 0 -1\nP 2"}}},
    {"vertex-duplicate", 0, {{"P 2 1 4", "P 2 1 5 0 0 0 0 0 -1"}}},
    {"name-double-colon", 0, {{"arm\n", "left::arm\n"}}},
    {"name-control", 0, {{"arm\n", "a\x01rm\n"}}},
    {"name-encoding", 0, {{"arm\n", "\xE9paule\n"}}},
    {"name-long", 0, {{"arm\n", std::string(64, 'a') + "\n"}}},
    {"name-clash", 0, {{"arm\n", "Root\n"}}},
    {"name-clash", 0, {{"root\n1", "arm_mesh\n1"}}},
    {"material-unused", 0, {{"P 2", "M 2 bone\n0\nP 2"}}},
    {"material-name-clash",
     0,
     {{"P 2", "M 2 skin\n0\nP 2 2 3 0 0 0 0 9 -1 0 0 1 0 9 -1 0 0 2 1 9 -1\nP 2"}}},
    {"id-gap", 0, {{"arm\n2", "arm\n9"}, {"P 2 1", "P 9 1"}, {"6\n2\n", "6\n9\n"}}},
    {"not-converted", 0, {{"P 2", "B 1 1 0 0 0 5 0 0\nP 2"}}},
    {"left-out", 0, {{"P 2", "f 2 1 1 1 0 0 0 0 -1\nP 2"}}},
    {"", 0, {}, kSolid},
    {"angles-degrees", 0, {{"DEGREES", "RADIANS"}, {"ROTATION: 0", "ROTATION: 90"}}, kSolid},
    {"angles-radians", 0, {{"ROTATION: 0", "ROTATION: 1.5707963"}}, kSolid},
    {"size-odd", 0, {{"INCHES", "METERS"}, {"20 20 20\n", "2000 20 20\n"}}, kSolid},
    {"vertex-far", 0, {{"20 20 20\n", "20 20 900\n"}}, kSolid},
    {"joint-far",
     0,
     {{"5 0 0\nM", "5 0 90\nM"},

      {"v1.30\n",
       "v1.30\nX\nb\n3\nroot\n1\n1 0 0 0 1 0 0 0 1 0 0 -90\nM 3 s\n0\nF 3 3 3 0 0 90 -1 1 0 90 -1 "
       "1 1 90 -1\n"}}},
    {"inside-out",
     0,
     {{"4 3 2 1", "1 2 3 4"},
      {"5 6 7 8", "8 7 6 5"},
      {"1 2 6 5", "5 6 2 1"},
      {"2 3 7 6", "6 7 3 2"},
      {"3 4 8 7", "7 8 4 3"},
      {"4 1 5 8", "8 5 1 4"}},
     kSolid},
    {"texture-coordinates", 0, {{"1 1 4 4 0", "512 512 4 4 0"}}},
    {"after-end", 0, {{kCube, "END:\n" + kCube}}, kSolid},
    {"after-end", 0, {{"5 6\n", "5 6\nEND:\nMATERIAL_TEXTURE_INDEX_MAPS {\n}\n"}}, kSolid},
    {"colour-range", 0, {{"DIFFUSE: 1 1 1", "DIFFUSE: 255 255 255"}}, kSolid},
    {"material-clear", 0, {{"ALPHA: 1", "ALPHA: 0"}}, kSolid},
    {"texture-idle", 0, {{"P 2", "F 2 1 3 0 0 0 -1 1 0 0 -1 1 1 0 -1\nP 2"}}},
    {"texture-case", 0, {{"skin.png", "Skin.PNG"}}},
    {"inside-out",
     0,
     {{"4 3 2 1",
       "9 10 11 12\n16 15 14 13\n13 14 10 9\n14 15 11 10\n15 16 12 11\n16 13 9 12\n4 3 2 1"},
      {"0 20 20\n",
       "0 20 20\n9 9 9\n11 9 9\n11 11 9\n9 11 9\n9 9 11\n11 9 11\n11 11 11\n9 11 11\n"}},
     kSolid},
    {"polygon-flipped", 0, {{"4 3 2 1", "1 2 3 4"}}, kSolid},
    // Two layers that begin at one seam.
    {"",
     0,
     {{"\n0 20 20\n", "\n0 20 20\n30 0 0\n30 20 0\n50 0 0\n50 20 0\n50 0 1\n50 20 1\n"},
      {"4 3 2 1", "4 3 2 1\n9 11 12 10\n9 13 14 10"}},
     kSolid},
    {"polygon-double", 0, {{"4 3 2 1", "4 3 2 1\n2 1 4 3"}}, kSolid},
    {"number-odd", 0, {{"20 20 20\n", "20 20 1e30\n"}}, kSolid},
    {"number-odd", 0, {{"20 20 20\n", "20 20 1e-42\n"}}, kSolid},
    {"number-odd", 0, {{"ROTATION: 0", "ROTATION: 1e30"}}, kSolid},
    {"joint-off-bone",
     0,
     {{" 5 0 0\nM", " 5 7 0\n" + kChain + "M"}, {"P 2 1 4", kBones + "P 2 1 4"}}},
    {"shape-size",
     0,
     {{" 5 0 0\nM", " 5 0 0\n" + kChain + "M"},
      {"P 2 1 4", Wide(1) + Wide(3) + Wide(4) + "P 2 1 4"}}},
    {"parent-name", 0, {{" 5 0 0\nM", " 5 0 0\n" + kChain + "M"}, {"4\nhand", "4\narm"}}},
    {"colour-incomplete", 0, {{"DIFFUSE: 1 1 1", "DIFFUSE: #ffffff"}}, kSolid},
    {"far-away", 0, {{"TRANSLATION: 1", "TRANSLATION: 1e4"}}, kSolid},
    {"no-polygons", 0, {}, kFigure},
    {"texture-cut", 0, {{"\"skin.png\"", "\"cut.png\""}}},
    {"texture-extension", 0, {{"\"skin.png\"", "\"skin.jpg\""}}},
    {"sides-differ", 0, {{"-9 0 0", "-9 20 0"}}, kFigure},
    {"sides-exchanged",
     0,
     {{"hand_L", "rHand"},
      {"hand_R", "lHand"},
      {"foot_L", "FootLeft"},
      {"foot_R", "FootRight"},
      {"eye_L", "EyeL"},
      {"eye_R", "EyeR"}},
     kFigure},
    {"mapping-partial", 0, {}, kFigure},
    {"number-missing", 1, {{"ALPHA: 1", "ALPHA: -nan"}}, kSolid},
    {"merge-conflict", 1, {{"4 3 2 1", "<<<<<<< HEAD\n4 3 2 1"}}, kSolid},
    {"file-damaged", 1, {{"P 2 1 4", std::string(8, '\0')}}},
    {"lies-down",
     0,
     {{"0 40 0", "0 0 40"}, {"5 -38 0", "5 0 -38"}, {"-5 -38 0", "-5 0 -38"}},
     kFigure},
    {"sides-exchanged",
     0,
     {{"hand_L", "hand_X"}, {"hand_R", "hand_L"}, {"hand_X", "hand_R"}},
     kFigure},
    {"transform-order", 0, {{"1 2 3 6 5 4", "1 2 2 6 5 4"}}, kSolid},
    {"constant-offset", 0, {{"1 2 3 4 5 6\n", "1 2 3 -1 90 5 6\n"}}, kSolid},
    {"translation-late", 0, {{"1 2 3 6 5 4", "6 5 4 1 2 3"}}, kSolid},
    {"slider-variables",
     0,
     {{"5 6\n",
       "5 6\nBLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 1\n}\n}\n"
       "BLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 2\n}\n}\n"}},
     kSolid},
    {"mapping-foreign",
     1,
     {{"v1.0\n0\n0\n",
       "v1.0\n0\n4\n21\n1 2 3 4 5 6\n0 0 0 0 0 0\n22\n1 2 3 4 5 6\n0 0 0 0 0 0\n"
       "23\n1 2 3 4 5 6\n0 0 0 0 0 0\n24\n1 2 3 4 5 6\n0 0 0 0 0 0\n"}},
     kFigure},
    {"include-backslash", 1, {{kSliders, "INCLUDE {\nFILE_NAME: .\\part.mdl\n}\n"}}, kDocument},
    {"slider-unmapped", 1, {}, kDocument},
    {"units-not-inches", 1, {{"INCHES", "METERS"}}, kDocument},
    {"units-differ",
     0,
     {{kSliders, "INCLUDE {\nFILE_NAME: part.mdl\n}\n"}, {"INCHES", "METERS"}},
     kDocument},
    {"include-circle", 1, {{kSliders, "INCLUDE {\nFILE_NAME: model.mdl\n}\n"}}, kDocument},
};

// Writes both files of an edited text; answers their paths.
std::pair<std::string, std::string> Write(const TestFolder& folder, const std::string& name,
                                          std::string text, const Edits& edits) {
  for (const auto& [from, to] : edits) {
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    text.replace(place, from.size(), to);
  }
  const std::size_t end = text.find("Zov Graphic Mapping File");
  return {folder.write(name + ".mdl", text.substr(0, end)),
          folder.write(name + ".dof", text.substr(end))};
}

TEST(Check, NamesEachFaultThatTheConverterMeets) {
  for (const CheckCase& row : kCases) {
    SCOPED_TRACE(row.code + testing::PrintToString(row.edits));
    const TestFolder folder;
    const std::string picture = ReadFile(Sample("fox_fox_material.png"));
    for (const char* const name : {"skin.png", "skin.jpg"}) folder.write(name, picture);
    folder.write("cut.png", picture.substr(0, 500));
    Write(folder, "part", kDocument, {{"root", "part"}, {"ID: 1", "ID: 2"}});
    const auto [model, mapping] = Write(folder, "model", row.text, row.edits);
    const ToolResult result = RunTool({"check", "--json", model, mapping});
    EXPECT_EQ(result.status, row.status) << result.out << result.err;
    std::set<std::string> codes;
    const auto answer = nlohmann::json::parse(result.out);
    for (const auto& finding : answer["findings"]) codes.insert(finding["code"]);
    EXPECT_TRUE(*row.code == '\0' ? codes.empty() : codes.contains(row.code)) << result.out;
    EXPECT_EQ(RunTool({"check", model, mapping}).status, row.status);
    const RunResult run = RunKestrix({model, mapping, folder.path("out.fbx")});
    EXPECT_EQ(run.status != 0, row.status != 0) << run.err;
  }
}

// Two findings of a warning, one of a note.
TEST(Check, FoldsAndChoosesFindings) {
  const std::string model = Sample("fox.mdl");
  const std::string mapping = Sample("fox.dof");
  const struct {
    std::vector<std::string> options;
    int status;
    int lines;  // with the summary
  } rows[] = {
      {{}, 0, 4},
      {{"--all"}, 0, 5},
      {{"--strict"}, 1, 4},
      {{"--strict", "--ignore", "body-unmapped"}, 0, 3},
      {{"--only", "body-unmapped", "--only", "left-handed"}, 0, 2},
      {{"--only", "no-such-code"}, 2, 0},
  };
  for (const auto& row : rows) {
    std::vector<std::string> words = {"check", model, mapping};
    words.insert(words.end(), row.options.begin(), row.options.end());
    const ToolResult result = RunTool(words);
    EXPECT_EQ(result.status, row.status) << result.err;
    EXPECT_EQ(std::ranges::count(result.out, '\n'), row.lines) << result.out;
  }
  EXPECT_EQ(RunTool({"check", model + "x"}).status, 2);
}

TEST(Check, FindsNoErrorInTheSamples) {
  for (const std::string name :
       {"fox", "fox-v2", "robot", "robot-v2", "walker", "walker-v2", "stage-v2"}) {
    const std::string stem = name.substr(0, name.find('-'));
    const ToolResult result = RunTool({"check", Sample(name + ".mdl"), Sample(stem + ".dof")});
    EXPECT_EQ(result.status, 0) << name << result.out;
  }
}

}  // namespace
