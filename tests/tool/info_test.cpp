// "info": facts about the samples as their own data have them, FBX files, and files that are none.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "fbxfacts.h"
#include "inputs.h"
#include "main/runprogram.h"
#include "support/legacyerrors.h"
#include "support/mappingtexts.h"
#include "tool/runtool.h"

namespace {

using Json = nlohmann::json;

Json InfoOf(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"info", "--json"});
  const ToolResult result = RunTool(arguments);
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  return Json::parse(result.out)["files"].at(0);
}

void ExpectNear(const Json& actual, const Json& expected, double tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(actual[i].get<double>(), expected[i].get<double>(), tolerance);
  }
}

// The weights toward each body, over the vertices of all bodies.
std::map<int, double> WeightSums(const Json& model) {
  std::map<int, double> sums;
  for (const Json& body : model["bodies"]) {
    for (const Json& weight : body["weights"]) {
      sums[weight["body"].get<int>()] += weight["sum"].get<double>();
    }
  }
  return sums;
}

void ExpectBodies(const Json& model, const Json& expected) {
  ASSERT_EQ(model["bodies"].size(), expected["bodies"].size());
  const double size = std::fabs(expected["bounding_box"]["max"][1].get<double>());
  std::map<int, Json> by_id;
  for (const Json& body : model["bodies"]) by_id[body["id"].get<int>()] = body;
  std::map<int, double> sums = WeightSums(model);
  for (const Json& facts : expected["bodies"]) {
    SCOPED_TRACE(facts["name"]);
    const int id = facts["id"].get<int>();
    const Json& body = by_id.at(id);
    EXPECT_EQ(body["name"], facts["name"]);
    EXPECT_EQ(body["polygons"], facts["polygons"]);
    EXPECT_EQ(body["corners"], facts["corners"]);
    EXPECT_EQ(body["vertices"], facts["welded_vertices"]);
    ExpectNear(body["world_position"], facts["global_rest_position"], 1e-4 * size);
    EXPECT_NEAR(sums[id], facts["weight_sum_over_welded_vertices"].get<double>(), 1e-2);
    EXPECT_EQ(body["bounding_box"].is_null(), facts["bounding_box"].is_null());
    if (!facts["bounding_box"].is_null()) {
      ExpectNear(body["bounding_box"]["max"], facts["bounding_box"]["max"], 1e-4 * size);
    }
  }
}

TEST(Info, TellsWhatTheSamplesAre) {
  for (const std::string name : {"fox", "robot", "walker", "stage"}) {
    const Json expected = Json::parse(ReadFile(Sample(name + ".expected.json")));
    for (const std::string dialect : {"", "-v2"}) {
      if (name == "stage" && dialect.empty()) continue;
      SCOPED_TRACE(name + dialect);
      const Json model =
          InfoOf({"--dof", Sample(name + ".dof"), Sample(name + dialect + ".mdl")})["model"];
      EXPECT_EQ(model["dialect"], dialect.empty() ? "legacy" : "document");
      ExpectBodies(model, expected);
      ASSERT_EQ(model["materials"].size(), expected["materials"].size());
      for (std::size_t i = 0; i < expected["materials"].size(); ++i) {
        EXPECT_EQ(model["materials"][i]["polygons"], expected["materials"][i]["polygons"]);
      }
      for (const Json& body : model["bodies"]) {
        const Json& rotations = expected["mapping"]["rotations"];
        const auto facts = rotations.find(std::to_string(body["id"].get<int>()));
        EXPECT_EQ(body["fbx_rotation_order"],
                  facts == rotations.end() ? Json() : (*facts)["fbx_rotation_order"]);
      }
    }
  }
  const Json sliders = InfoOf({Sample("robot-v2.mdl")})["model"]["slider_groups"][0]["sliders"];
  EXPECT_EQ(sliders[1]["name"], "Surprised");
  EXPECT_NEAR(sliders[1]["largest_move"].get<double>(), 18.355418, 1e-4);
  const Json texture = InfoOf({Sample("fox.mdl")})["model"]["materials"][0]["textures"][0];
  EXPECT_EQ(texture["format"], "PNG");
  EXPECT_EQ(texture["width"], 1024);
  EXPECT_EQ(texture["bytes"], 26764);
}

// A frame must hold what sliders and textures use, too.
TEST(Info, CountsTheVariablesOfAFrame) {
  const TestFolder folder;
  const std::tuple<std::string, int, std::string> rows[] = {
      {OneBody(""), 6, "1 body, 6 variables\n"},
      {Sliders("smile 9"), 9, "1 body, 6 variables; with those of textures and sliders 9\n"},
  };
  for (const auto& [text, highest, line] : rows) {
    const std::string file = folder.write("m.dof", text);
    const Json mapping = InfoOf({file})["mapping"];
    EXPECT_EQ(mapping["variables"], 6);
    EXPECT_EQ(mapping["frame_variables"], highest);
    const std::string out = RunTool({"info", file}).out;
    EXPECT_NE(out.find(line), std::string::npos) << out;
  }
}

// Legacy text has no units, and without a mapping nobody knows what is mapped.
TEST(Info, TellsNothingThatIsNotThere) {
  const TestFolder folder;
  const std::string legacy = folder.write("m.mdl", kBasicModel);
  const std::string mapping = folder.write("m.dof", OneBody(""));
  const Json model = InfoOf({legacy})["model"];
  EXPECT_TRUE(model["units"]["length"].is_null() && model["units"]["angle"].is_null()) << model;
  EXPECT_TRUE(model["bodies"][0]["mapped"].is_null());
  EXPECT_EQ(InfoOf({"--dof", mapping, legacy})["model"]["bodies"][0]["mapped"], true);
  const Json document = InfoOf({"--dof", mapping, Sample("walker-v2.mdl")})["model"];
  EXPECT_EQ(document["units"]["length"]["name"], "INCHES");
  EXPECT_EQ(document["bodies"][1]["mapped"], false);
  const std::string text = RunTool({"info", legacy}).out;
  EXPECT_NE(text.find("legacy, version 1.30\n  units     not stated, taken as inches\n"),
            std::string::npos)
      << text;
}

// What readers print by themselves is told of the file, too, by each command.
TEST(Info, PrefixesWhatReadersPrint) {
  const TestFolder folder;
  const std::string odd = folder.write("odd.mdl", kBasicModel + "VV\n");
  const std::string cut =
      folder.write("cut.mdl", "Zov Graphic Model File\nv2.00\nBODY {\nNAME: a\n");
  const std::string whole = folder.write("whole.mdl", kBasicModel);
  const std::vector<std::string> commands[] = {{"info", odd, cut},
                                               {"diff", odd, cut},
                                               {"picture", cut, "-o", "no.svg"},
                                               {"convert-model", cut, "no.mdl"},
                                               {"convert-model", "--add", cut, whole, "no.mdl"}};
  for (const auto& command : commands) {
    SCOPED_TRACE(command.front());
    const ToolResult result = RunTool(command);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("Hit end of file without reading"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("Hit eof"), std::string::npos) << result.err;
    std::istringstream lines(result.err);
    for (std::string line; std::getline(lines, line);) {
      const bool has_name =
          line.starts_with("kestrix-tool: " + folder.path("")) || line.starts_with(folder.path(""));
      EXPECT_TRUE(has_name) << line;
    }
  }
  const Json warnings = InfoOf({odd})["warnings"];
  EXPECT_EQ(warnings[0]["text"], "Unsupported Obj type 'V'") << warnings;
}

const std::pair<std::string, int> kReleases[] = {{"2011", 7100}, {"2010", 6100}};

// Answers the path of the FBX file.
std::string Convert(const TestFolder& folder, const std::string& release, const std::string& model,
                    const std::string& mapping) {
  std::string fbx = folder.path("out.fbx");
  EXPECT_EQ(RunKestrix({"-mb_version", release, model, mapping, fbx}).status, 0);
  return fbx;
}

TEST(Info, ReadsTheFilesThatTheConverterWrites) {
  const TestFolder folder;
  for (const auto& [release, version] : kReleases) {
    SCOPED_TRACE(release);
    const std::string fbx = Convert(folder, release, Sample("robot-v2.mdl"), Sample("robot.dof"));
    const Json facts = InfoOf({fbx})["fbx"];
    EXPECT_EQ(facts["version"], version);
    EXPECT_EQ(facts["nodes"].size(), 44U);
    EXPECT_EQ(facts["meshes"][0]["polygons"], 3234);
    EXPECT_EQ(facts["meshes"][0]["shapes"], Json::parse(R"(["Angry", "Surprised", "Sad"])"));
    EXPECT_EQ(facts["materials"].size(), 3U);
    for (const Json& material : facts["materials"]) {  // nothing is metal that reflects nothing
      EXPECT_EQ(material["properties"]["ReflectionFactor"], Json::array({0.0})) << material;
    }
    // Roots that are bones of a mesh, and materials that several meshes share.
    const std::string stage = Convert(folder, release, Sample("stage-v2.mdl"), Sample("stage.dof"));
    EXPECT_EQ(InfoOf({stage})["fbx"]["nodes"].size(), 28U);
    ASSERT_EQ(RunTool({"animate", "--mesh-per-body", "--mb-version", release, "-o", stage,
                       Sample("fox.mdl"), Sample("fox.dof")})
                  .status,
              0);
    const Json meshes = InfoOf({stage})["fbx"]["meshes"];
    for (const Json& mesh : meshes) EXPECT_EQ(mesh["materials"], 1);
  }
}

// Whatever is cut off or changed, the file is told to be damaged or read; nothing else happens.
TEST(Info, SurvivesDamagedFbxFiles) {
  const TestFolder folder;
  const auto read = [](const std::string& bytes) {
    FbxFacts facts;
    const bool good = GatherFbxFacts(bytes, &facts);
    EXPECT_EQ(HasError(TakeMessages()), !good);
    return good;
  };
  // A body with a triangle, and a mapping of nothing: a short file.
  folder.write("m.mdl", kBasicModel + "F 1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n");
  folder.write("m.dof", MappingText(0, 0, ""));
  for (const auto& [release, version] : kReleases) {
    std::string bytes =
        ReadFile(Convert(folder, release, folder.path("m.mdl"), folder.path("m.dof")));
    ASSERT_TRUE(read(bytes));
    std::string shorter = bytes;  // a number of four bytes said to have one
    shorter[shorter.find("VersionI") + 7] = 'C';
    EXPECT_FALSE(read(shorter));
    // The tail says whether a file is whole; with a tail put behind it, a cut must be noticed by
    // the records. 6.1 has a summary behind the tail of what counts.
    const std::string tail = bytes.substr(bytes.size() - 16);
    for (std::size_t size = 0; size < bytes.size(); size += 7) {
      std::string cut = bytes.substr(0, size);
      EXPECT_EQ(read(cut), cut.ends_with(tail)) << size;
      cut += tail;
      read(cut);
    }
    bytes = ReadFile(Convert(folder, release, Sample("fox.mdl"), Sample("fox.dof")));
    std::mt19937 random(1);
    for (int round = 0; round < 1500; ++round) {
      std::string changed = bytes;
      // Most of what matters stands in front; much of the rest is the picture.
      const std::size_t place = random() % (round % 2 == 0 ? bytes.size() : 8000);
      changed[place] = static_cast<char>(random());
      read(changed);
    }
  }
}

TEST(Info, GoesOnAfterFilesThatCannotBeRead) {
  const TestFolder folder;
  const std::string broken = folder.write("broken.mdl", "Zov Graphic Model File\nv1.30\nQ\n");
  const std::string nothing = folder.path("nothing.mdl");
  const std::string picture = Sample("fox_fox_material.png");
  const ToolResult result = RunTool({"info", "--tree", broken, Sample("fox.mdl"), nothing, picture,
                                     Sample("walker-v2.mdl"), folder.path(".")});
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.out.find("b_Head_05 (7)"), std::string::npos);
  EXPECT_NE(result.out.find("Tongue1"), std::string::npos);
  for (const std::string& file : {broken, nothing, picture}) {
    EXPECT_NE(result.err.find(file + ":"), std::string::npos) << result.err;
  }
  EXPECT_EQ(RunTool({"info"}).status, 2);
  EXPECT_EQ(RunTool({"inform"}).status, 2);
  EXPECT_EQ(RunTool({"--version"}).out, "kestrix-tool 0.9.0\n");
}

TEST(Info, TakesChainsThatAreDeep) {
  std::ostringstream text;
  text << "Zov Graphic Model File\nv1.30\n";
  constexpr int kDepth = 20000;
  for (int id = 1; id <= kDepth; ++id) {
    text << "X\n b" << id << "\n " << id << "\n p\n " << id - 1 << "\n 1 0 0 0 1 0 0 0 1 0 0 0\n";
  }
  const TestFolder folder;
  const std::string model = folder.write("deep.mdl", text.str());
  EXPECT_EQ(InfoOf({model})["model"]["bodies"][kDepth - 1]["depth"], kDepth - 1);
  EXPECT_EQ(RunTool({"info", model}).status, 0);
  EXPECT_EQ(RunTool({"picture", model, "-o", folder.path("deep.svg")}).status, 0);
  EXPECT_LT(folder.read("deep.svg").size(), 10000000U);
}

}  // namespace
