// Converted samples as Assimp reads them, compared with what is known about each character.
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

#include "builtscene.h"
#include "runprogram.h"
#include "save.h"

namespace {

using nlohmann::json;

constexpr float kTolerance = 1e-4F;

struct Case {
  std::string sample;
  std::vector<std::string> options;
  float scale;
  bool mesh_per_body;
  bool ascii = false;  // written by the library: the program has binary files only
};

const Case kCases[] = {
    {"fox", {}, 2.54F, false},
    {"fox", {"-mesh_per_body", "-scale_factor", "1"}, 1.0F, true},
    {"robot", {"-scale_factor", "0.37"}, 0.37F, false},
    {"robot", {"-mesh_per_body"}, 2.54F, true},
    {"walker", {"-mesh_per_body", "-scale_factor", "100"}, 100.0F, true},
    {"fox", {}, 2.54F, false, true},
    {"robot", {}, 2.54F, true, true},
};

void Convert(const Case& c, const std::string& fbx) {
  const std::string model = Sample(c.sample + ".mdl");
  const std::string mapping = Sample(c.sample + ".dof");
  if (c.ascii) {
    const BuiltScene built(ReadFile(model), ReadFile(mapping), c.mesh_per_body, c.scale,
                           KESTRIX_SAMPLES);
    ASSERT_TRUE(SaveScene(built.manager.get(), built.scene, fbx.c_str(), true, true, "FBX201100"));
  } else {
    std::vector<std::string> arguments = c.options;
    arguments.insert(arguments.end(), {model, mapping, fbx});
    const RunResult run = RunKestrix(arguments);
    ASSERT_EQ(run.status, 0) << run.err;
  }
}

aiVector3D Vector(const json& numbers) { return {numbers[0], numbers[1], numbers[2]}; }

void ExpectNear(const aiVector3D& found, const aiVector3D& wanted, float limit) {
  EXPECT_LT((found - wanted).Length(), limit);
}

aiMatrix4x4 GlobalTransform(const aiNode* node) {
  aiMatrix4x4 global = node->mTransformation;
  for (node = node->mParent; node; node = node->mParent) global = node->mTransformation * global;
  return global;
}

// Each body is a node under its parent's, placed and turned as the character has it.
void ExpectBodies(const aiNode* root, const json& bodies, float scale, float limit) {
  for (const json& body : bodies) {
    SCOPED_TRACE(body["name"]);
    const aiNode* node = root->FindNode(body["name"].get<std::string>().c_str());
    ASSERT_NE(node, nullptr);
    const json& parent = body["parent"];
    EXPECT_EQ(node->mParent,
              parent.is_null() ? root : root->FindNode(parent.get<std::string>().c_str()));
    const aiMatrix4x4 global = GlobalTransform(node);
    for (unsigned i = 0; i < 3; ++i) {
      ExpectNear({global[0][i], global[1][i], global[2][i]}, Vector(body["global_rest_axes"][i]),
                 2 * kTolerance);
    }
    ExpectNear({global.a4, global.b4, global.c4}, Vector(body["global_rest_position"]) * scale,
               limit);
  }
}

// What the nodes of a scene carry, added up; Assimp splits the mesh of a node by material.
struct Geometry {
  int nodes = 0;
  int polygons = 0;
  int corners = 0;
  bool normals = true;
  aiVector3D min{1e10F, 1e10F, 1e10F};
  aiVector3D max{-1e10F, -1e10F, -1e10F};
  std::map<std::string, int> polygons_of_node;  // by the names of its parent and its own
  std::map<std::string, int> polygons_of_material;

  void add(const aiScene& scene, const aiNode* node) {
    ++nodes;
    for (unsigned i = 0; i < node->mNumMeshes; ++i) {
      add(scene, node, *scene.mMeshes[node->mMeshes[i]]);
    }
    for (unsigned i = 0; i < node->mNumChildren; ++i) add(scene, node->mChildren[i]);
  }

  void add(const aiScene& scene, const aiNode* node, const aiMesh& mesh) {
    const auto faces = static_cast<int>(mesh.mNumFaces);
    polygons += faces;
    const std::string parent = node->mParent->mName.C_Str();
    polygons_of_node[parent + "/" + node->mName.C_Str()] += faces;
    polygons_of_material[scene.mMaterials[mesh.mMaterialIndex]->GetName().C_Str()] += faces;
    normals = normals && mesh.HasNormals();
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      corners += static_cast<int>(mesh.mFaces[f].mNumIndices);
    }
    const aiMatrix4x4 global = GlobalTransform(node);
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D point = global * mesh.mVertices[v];
      for (unsigned i = 0; i < 3; ++i) {
        min[i] = std::min(min[i], point[i]);
        max[i] = std::max(max[i], point[i]);
      }
    }
  }
};

std::string MeshOf(const std::string& body) { return body + "/" + body + "_mesh"; }

void ExpectMeshes(const Geometry& found, const json& expected, bool mesh_per_body) {
  EXPECT_EQ(found.polygons, expected["polygons"]);
  EXPECT_EQ(found.corners, expected["corners"]);
  EXPECT_TRUE(found.normals);
  std::map<std::string, int> of_bodies;
  for (const json& body : expected["bodies"]) {
    const auto name = body["name"].get<std::string>();
    if (body["polygons"] != 0) of_bodies[MeshOf(name)] = body["polygons"];
  }
  if (mesh_per_body) {
    EXPECT_EQ(found.polygons_of_node, of_bodies);
  } else {
    EXPECT_EQ(found.polygons_of_node.size(), expected["root_bodies"].size());
  }
  // The root, the bodies, and a node for each mesh: nothing else.
  const auto meshes = static_cast<int>(found.polygons_of_node.size());
  EXPECT_EQ(found.nodes, 1 + expected["body_count"].get<int>() + meshes);
}

// Only materials that polygons use are kept; their pictures come back byte for byte.
void ExpectMaterials(const aiScene& scene, Geometry found, const json& expected) {
  EXPECT_EQ(scene.mNumMaterials, expected["materials_used_by_polygons"]);
  unsigned pictures = 0;
  for (const json& material : expected["materials"]) {
    EXPECT_EQ(found.polygons_of_material[material["name"]], material["polygons"]);
    if (material["polygons"] == 0 || material["texture"].is_null()) continue;
    ASSERT_LT(pictures, scene.mNumTextures);
    const aiTexture* texture = scene.mTextures[pictures++];
    const std::string_view bytes(reinterpret_cast<const char*>(texture->pcData), texture->mWidth);
    EXPECT_TRUE(bytes == ReadFile(Sample(material["texture"]))) << material["texture"];
  }
  EXPECT_EQ(scene.mNumTextures, pictures);
}

TEST(Assimp, ReadsTheCharactersThatWereConverted) {
  const TestFolder folder;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.sample + (c.mesh_per_body ? " per body" : "") + (c.ascii ? " as text" : ""));
    const std::string fbx = folder.path("converted.fbx");
    Convert(c, fbx);
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene* scene = importer.ReadFile(fbx, 0);
    ASSERT_NE(scene, nullptr) << importer.GetErrorString();

    const json expected = json::parse(ReadFile(Sample(c.sample + ".expected.json")));
    const aiVector3D min = Vector(expected["bounding_box"]["min"]) * c.scale;
    const aiVector3D max = Vector(expected["bounding_box"]["max"]) * c.scale;
    const float limit = kTolerance * (max - min).Length();
    ExpectBodies(scene->mRootNode, expected["bodies"], c.scale, limit);
    Geometry found;
    found.add(*scene, scene->mRootNode);
    ExpectNear(found.min, min, limit);
    ExpectNear(found.max, max, limit);
    ExpectMeshes(found, expected, c.mesh_per_body);
    ExpectMaterials(*scene, found, expected);
  }
}

}  // namespace
