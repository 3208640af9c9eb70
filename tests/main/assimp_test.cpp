// Converted samples as Assimp reads them, compared with what is known about each character.
#include <assimp/config.h>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "builtscene.h"
#include "runprogram.h"
#include "save.h"

namespace {

using nlohmann::json;

constexpr double kTolerance = 1e-4;

struct Case {
  std::string sample;
  std::vector<std::string> options;
  double scale;
  bool mesh_per_body;
  bool ascii = false;  // written by the library: the program has binary files only
};

const Case kCases[] = {
    {"fox", {}, 2.54, false},
    {"fox", {"-mesh_per_body", "-scale_factor", "1"}, 1.0, true},
    {"robot", {"-scale_factor", "0.37"}, 0.37, false},
    {"robot", {"-mesh_per_body"}, 2.54, true},
    {"walker", {}, 2.54, false},
    {"walker", {"-mesh_per_body", "-scale_factor", "100"}, 100.0, true},
    {"fox", {}, 2.54, false, true},
    {"robot", {}, 2.54, true, true},
};

struct Box {
  std::array<double, 3> min{};
  std::array<double, 3> max{};
  Box() {
    min.fill(std::numeric_limits<double>::infinity());
    max.fill(-std::numeric_limits<double>::infinity());
  }
  void add(const aiVector3D& p) {
    for (unsigned i = 0; i < 3; ++i) {
      min[i] = std::min(min[i], static_cast<double>(p[i]));
      max[i] = std::max(max[i], static_cast<double>(p[i]));
    }
  }
};

aiMatrix4x4 globalTransform(const aiNode* node) {
  aiMatrix4x4 global = node->mTransformation;
  for (node = node->mParent; node; node = node->mParent) global = node->mTransformation * global;
  return global;
}

struct Part {
  std::string parent;
  int polygons = 0;
  Box box;
};

// What the nodes of a scene carry, added up; Assimp splits the mesh of a node by material.
struct Geometry {
  int nodes = 0;
  int polygons = 0;
  int corners = 0;
  bool normals = true;
  Box box;
  std::map<std::string, Part> parts;  // by name of the mesh node
  std::map<std::string, int> polygons_of_material;

  void add(const aiScene& scene, const aiNode* node) {
    ++nodes;
    for (unsigned i = 0; i < node->mNumMeshes; ++i)
      add(scene, node, *scene.mMeshes[node->mMeshes[i]]);
    for (unsigned i = 0; i < node->mNumChildren; ++i) add(scene, node->mChildren[i]);
  }

  void add(const aiScene& scene, const aiNode* node, const aiMesh& mesh) {
    const aiMatrix4x4 global = globalTransform(node);
    const auto faces = static_cast<int>(mesh.mNumFaces);
    Part& part = parts[node->mName.C_Str()];
    part.parent = node->mParent->mName.C_Str();
    part.polygons += faces;
    polygons += faces;
    polygons_of_material[scene.mMaterials[mesh.mMaterialIndex]->GetName().C_Str()] += faces;
    normals = normals && mesh.HasNormals();
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      corners += static_cast<int>(mesh.mFaces[f].mNumIndices);
    }
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D point = global * mesh.mVertices[v];
      box.add(point);
      part.box.add(point);
    }
  }
};

void SaveIn71(const BuiltScene& built, const std::string& file, bool ascii) {
  ASSERT_TRUE(SaveScene(built.manager.get(), built.scene, file.c_str(), ascii, true, "FBX201100"));
}

class AssimpReads : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    const std::string& sample = GetParam().sample;
    expected_ = json::parse(ReadFile(Sample(sample + ".expected.json")));
    const json& min = expected_["bounding_box"]["min"];
    const json& max = expected_["bounding_box"]["max"];
    size_ = GetParam().scale * std::hypot(max[0].get<double>() - min[0].get<double>(),
                                          max[1].get<double>() - min[1].get<double>(),
                                          max[2].get<double>() - min[2].get<double>());

    const std::string file = folder_.path("converted.fbx");
    if (GetParam().ascii) {
      const BuiltScene built(ReadFile(Sample(sample + ".mdl")), ReadFile(Sample(sample + ".dof")),
                             GetParam().mesh_per_body, static_cast<float>(GetParam().scale),
                             KESTRIX_SAMPLES);
      SaveIn71(built, file, true);
    } else {
      std::vector<std::string> arguments = GetParam().options;
      arguments.insert(arguments.end(), {Sample(sample + ".mdl"), Sample(sample + ".dof"), file});
      const RunResult run = RunKestrix(arguments);
      ASSERT_EQ(run.status, 0) << run.err;
    }

    importer_.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    scene_ = importer_.ReadFile(file, 0);
    ASSERT_NE(scene_, nullptr) << importer_.GetErrorString();
  }

  void expectNear(const aiVector3D& found, const json& wanted, double scale, double limit,
                  const std::string& what) const {
    for (unsigned i = 0; i < 3; ++i) {
      EXPECT_NEAR(static_cast<double>(found[i]), wanted[i].get<double>() * scale, limit)
          << what << ", component " << i;
    }
  }

  void expectBox(const Box& found, const json& wanted, const std::string& what) const {
    const double scale = GetParam().scale;
    for (unsigned i = 0; i < 3; ++i) {
      EXPECT_NEAR(found.min[i], wanted["min"][i].get<double>() * scale, size_ * kTolerance) << what;
      EXPECT_NEAR(found.max[i], wanted["max"][i].get<double>() * scale, size_ * kTolerance) << what;
    }
  }

  json expected_;
  double size_ = 0.0;
  TestFolder folder_;
  Assimp::Importer importer_;
  const aiScene* scene_ = nullptr;
};

// Each body is a node under its parent's, placed and turned as the character has it.
TEST_P(AssimpReads, Bodies) {
  const aiNode* root = scene_->mRootNode;
  for (const json& body : expected_["bodies"]) {
    const auto name = body["name"].get<std::string>();
    SCOPED_TRACE(name);
    const aiNode* node = root->FindNode(name.c_str());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->mParent, body["parent"].is_null()
                                 ? root
                                 : root->FindNode(body["parent"].get<std::string>().c_str()));
    const aiMatrix4x4 global = globalTransform(node);
    const json& axes = body["global_rest_axes"];
    expectNear({global.a1, global.b1, global.c1}, axes[0], 1.0, kTolerance, "x axis");
    expectNear({global.a2, global.b2, global.c2}, axes[1], 1.0, kTolerance, "y axis");
    expectNear({global.a3, global.b3, global.c3}, axes[2], 1.0, kTolerance, "z axis");
    expectNear({global.a4, global.b4, global.c4}, body["global_rest_position"], GetParam().scale,
               size_ * kTolerance, "position");
  }
}

TEST_P(AssimpReads, Meshes) {
  Geometry found;
  found.add(*scene_, scene_->mRootNode);
  EXPECT_EQ(found.polygons, expected_["polygons"]);
  EXPECT_EQ(found.corners, expected_["corners"]);
  EXPECT_TRUE(found.normals);
  expectBox(found.box, expected_["bounding_box"], "whole");
  // The root, the bodies, and a node for each mesh: nothing else.
  EXPECT_EQ(found.nodes,
            1 + expected_["body_count"].get<int>() + static_cast<int>(found.parts.size()));
  if (!GetParam().mesh_per_body) {
    EXPECT_EQ(found.parts.size(), expected_["root_bodies"].size());
    return;
  }
  for (const json& body : expected_["bodies"]) {
    const auto name = body["name"].get<std::string>();
    EXPECT_EQ(found.parts.contains(name + "_mesh"), body["polygons"] != 0) << name;
    if (body["polygons"] == 0) continue;
    const Part& part = found.parts[name + "_mesh"];
    EXPECT_EQ(part.parent, name);
    EXPECT_EQ(part.polygons, body["polygons"]) << name;
    expectBox(part.box, body["bounding_box"], name);
  }
}

// Only materials that polygons use are kept; their pictures come back byte for byte.
TEST_P(AssimpReads, MaterialsAndPictures) {
  Geometry found;
  found.add(*scene_, scene_->mRootNode);
  EXPECT_EQ(scene_->mNumMaterials, expected_["materials_used_by_polygons"]);
  unsigned pictures = 0;
  for (const json& material : expected_["materials"]) {
    EXPECT_EQ(found.polygons_of_material[material["name"]], material["polygons"]);
    if (material["polygons"] == 0 || material["texture"].is_null()) continue;
    ASSERT_LT(pictures, scene_->mNumTextures);
    const aiTexture* texture = scene_->mTextures[pictures++];
    const std::string_view bytes(reinterpret_cast<const char*>(texture->pcData), texture->mWidth);
    EXPECT_TRUE(bytes == ReadFile(Sample(material["texture"]))) << material["texture"];
  }
  EXPECT_EQ(scene_->mNumTextures, pictures);
}

std::string caseName(const testing::TestParamInfo<Case>& info) {
  return info.param.sample + (info.param.mesh_per_body ? "_per_body" : "_per_chain") +
         (info.param.ascii ? "_text" : "");
}

TEST(AssimpReadsMaterials, Transparency) {
  std::ostringstream model;
  model << kHeader << BodyAt(1, "a", 0, "1 0 0  0 1 0  0 0 1  0 0 0");
  const float alphas[] = {1, 0.75F, 0.25F, 0};
  for (int i = 1; i <= 4; ++i) {
    model << "M " << i << " m" << i << "\n7 " << alphas[i - 1] << "\n0\n";
    model << "F 1 " << i << " 3 0 0 0 -1 1 0 0 -1 0 " << i << " 0 -1\n";
  }
  const BuiltScene built(model.str(), kEmptyDof);
  const TestFolder folder;
  for (const bool ascii : {false, true}) {
    SaveIn71(built, folder.path("a.fbx"), ascii);
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(folder.path("a.fbx"), 0);
    ASSERT_NE(scene, nullptr) << importer.GetErrorString();
    ASSERT_EQ(scene->mNumMaterials, 4U);
    for (unsigned i = 0; i < 4; ++i) {
      float opacity = -1;
      scene->mMaterials[i]->Get(AI_MATKEY_OPACITY, opacity);
      EXPECT_EQ(opacity, alphas[i]);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, AssimpReads, testing::ValuesIn(kCases), caseName);

}  // namespace
