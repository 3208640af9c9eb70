// Converted samples: their objects are whole and agree with each other, and Assimp reads what is
// known about each character.
#include <assimp/config.h>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Fbx/fbxfamily.h"
#include "builtscene.h"
#include "runprogram.h"
#include "save.h"

namespace {

using nlohmann::json;

constexpr float kTolerance = 1e-4F;

void Convert(const std::vector<std::string>& options, const std::string& model,
             const std::string& mapping, const std::string& fbx) {
  const RunResult run = RunKestrix(Joined({options, {Sample(model), Sample(mapping), fbx}}));
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST(Samples, ConvertToFilesThatAgreeWithThemselves) {
  const TestFolder folder;
  const struct {
    std::string model, mapping;
    int clusters;           // one for each body that vertices follow
    int clusters_per_body;  // none where all vertices follow their own body
  } cases[] = {{"fox.mdl", "fox.dof", 22, 91},
               {"robot-v2.mdl", "robot.dof", 36, 141},
               {"walker.mdl", "walker.dof", 16, 0},
               {"stage-v2.mdl", "stage.dof", 24, 91}};
  for (const auto& c : cases) {
    for (const Family& family : kFamilies) {
      for (const bool per_body : {false, true}) {
        SCOPED_TRACE(c.model + (family.has_ids ? " 7.1" : " 6.1") + (per_body ? " per body" : ""));
        std::vector<std::string> options = {"-mb_version", family.has_ids ? "2011" : "2010"};
        if (per_body) options.emplace_back("-mesh_per_body");
        Convert(options, c.model, c.mapping, folder.path("out.fbx"));
        const FbxFile file = ParseFbx(folder.read("out.fbx"));
        ASSERT_EQ(file.fault, "");
        ExpectSoundObjects(family, file);
        EXPECT_EQ(ExpectAgreeingTransforms(family, file),
                  per_body ? c.clusters_per_body : c.clusters);
      }
    }
  }
}

aiVector3D Vector(const json& numbers) { return {numbers[0], numbers[1], numbers[2]}; }

void ExpectNear(const aiVector3D& found, const aiVector3D& wanted, float limit) {
  EXPECT_LT((found - wanted).Length(), limit);
}

// What a scene has. Every part of it is looked at in the tests of other readers.
struct Contents {
  std::map<std::string, std::pair<std::string, aiMatrix4x4>> nodes;  // parent and place, by name
  int corners = 0;
  aiVector3D min{1e10F, 1e10F, 1e10F};
  aiVector3D max{-1e10F, -1e10F, -1e10F};

  void add(const aiScene& scene, const aiNode& node, const char* parent, const aiMatrix4x4& above) {
    const aiMatrix4x4 global = above * node.mTransformation;
    EXPECT_TRUE(nodes.emplace(node.mName.C_Str(), std::pair(parent, global)).second);
    for (unsigned i = 0; i < node.mNumMeshes; ++i) add(*scene.mMeshes[node.mMeshes[i]], global);
    for (unsigned i = 0; i < node.mNumChildren; ++i) {
      add(scene, *node.mChildren[i], node.mName.C_Str(), global);
    }
  }

  void add(const aiMesh& mesh, const aiMatrix4x4& global) {
    EXPECT_TRUE(mesh.HasNormals());
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      corners += static_cast<int>(mesh.mFaces[f].mNumIndices);
    }
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D point = global * mesh.mVertices[v];
      for (unsigned i = 0; i < 3; ++i) {
        min[i] = std::min(min[i], point[i]);
        max[i] = std::max(max[i], point[i]);
      }
    }
  }
};

// Each body is a node under its parent's, placed and turned as the character has it.
void ExpectNodes(const Contents& found, const char* root, const json& expected, float scale,
                 float limit) {
  for (const json& body : expected["bodies"]) {
    const auto name = body["name"].get<std::string>();
    SCOPED_TRACE(name);
    const auto& [parent, global] = found.nodes.at(name);
    EXPECT_EQ(parent, body["parent"].is_null() ? root : body["parent"].get<std::string>());
    for (unsigned i = 0; i < 3; ++i) {
      ExpectNear({global[0][i], global[1][i], global[2][i]}, Vector(body["global_rest_axes"][i]),
                 2 * kTolerance);
    }
    ExpectNear({global.a4, global.b4, global.c4}, Vector(body["global_rest_position"]) * scale,
               limit);
  }
}

// Only materials that polygons use are kept; their pictures come back byte for byte.
void ExpectMaterials(const aiScene& scene, const json& expected) {
  EXPECT_EQ(scene.mNumMaterials, expected["materials_used_by_polygons"]);
  unsigned pictures = 0;
  for (const json& material : expected["materials"]) {
    if (material["polygons"] == 0 || material["texture"].is_null()) continue;
    ASSERT_LT(pictures, scene.mNumTextures);
    const aiTexture* texture = scene.mTextures[pictures++];
    const std::string_view bytes(reinterpret_cast<const char*>(texture->pcData), texture->mWidth);
    EXPECT_TRUE(bytes == ReadFile(Sample(material["texture"]))) << material["texture"];
  }
  EXPECT_EQ(scene.mNumTextures, pictures);
}

TEST(Samples, AreReadByAssimp) {
  const TestFolder folder;
  const std::string fbx = folder.path("converted.fbx");
  const struct {
    std::string sample;
    std::vector<std::string> options;
    float scale;
    bool mesh_per_body;
    bool ascii = false;  // written by the library: the program has binary files only
  } cases[] = {
      {"fox", {}, 2.54F, false},
      {"fox", {"-mesh_per_body", "-scale_factor", "1"}, 1.0F, true},
      {"robot", {"-scale_factor", "0.37"}, 0.37F, false},
      {"robot", {"-mesh_per_body"}, 2.54F, true},
      {"walker", {"-mesh_per_body", "-scale_factor", "100"}, 100.0F, true},
      {"fox", {}, 2.54F, false, true},
      {"robot", {}, 2.54F, true, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sample + (c.mesh_per_body ? " per body" : "") + (c.ascii ? " as text" : ""));
    if (c.ascii) {
      const BuiltScene built(ReadFile(Sample(c.sample + ".mdl")),
                             ReadFile(Sample(c.sample + ".dof")), c.mesh_per_body, c.scale,
                             KESTRIX_SAMPLES);
      EXPECT_TRUE(
          SaveScene(built.manager.get(), built.scene, fbx.c_str(), true, true, "FBX201100"));
    } else {
      Convert(c.options, c.sample + ".mdl", c.sample + ".dof", fbx);
    }
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene* scene = importer.ReadFile(fbx, 0);
    ASSERT_NE(scene, nullptr) << importer.GetErrorString();

    const json expected = json::parse(ReadFile(Sample(c.sample + ".expected.json")));
    const aiVector3D min = Vector(expected["bounding_box"]["min"]) * c.scale;
    const aiVector3D max = Vector(expected["bounding_box"]["max"]) * c.scale;
    const float limit = kTolerance * (max - min).Length();
    Contents found;
    found.add(*scene, *scene->mRootNode, "", {});
    ExpectNodes(found, scene->mRootNode->mName.C_Str(), expected, c.scale, limit);
    ExpectNear(found.min, min, limit);
    ExpectNear(found.max, max, limit);
    EXPECT_EQ(found.corners, expected["corners"]);
    ExpectMaterials(*scene, expected);
  }
}

}  // namespace
