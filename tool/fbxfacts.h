// What there is to say about an FBX file that kestrix wrote.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "modelfacts.h"

struct FbxNodeFacts {
  std::string name;
  std::string kind;  // "LimbNode", "Mesh"
  int parent = -1;   // index, -1 for the scene
  int depth = 0;
  Point translation = {};
  Point pre_rotation = {};  // degrees
  std::string rotation_order;
};

struct FbxMeshFacts {
  std::string name;
  std::uint64_t vertices = 0;
  std::uint64_t polygons = 0;
  std::uint64_t corners = 0;
  int materials = 0;
  int clusters = 0;  // 0 without a skin
  std::uint64_t weights = 0;
  std::vector<std::string> shapes;
  Box box;  // in the space of its node
};

struct FbxMaterialFacts {
  std::string name;
  std::vector<std::pair<std::string, std::vector<double>>> properties;
};

struct FbxTextureFacts {
  std::string name;
  std::string file;
  std::string target;  // the material or node that it is connected to
  std::string property;
};

struct FbxVideoFacts {
  std::string name;
  std::string file;
  std::uint64_t embedded_bytes = 0;
};

struct FbxFacts {
  std::string file;
  std::uint64_t bytes = 0;
  int version = 0;
  std::string creator;
  std::string created;
  std::vector<std::pair<std::string, std::string>> info;  // title, subject ... where given
  std::map<std::string, int> objects;                     // counts by class and kind
  std::vector<FbxNodeFacts> nodes;                        // parents before their children
  std::vector<FbxMeshFacts> meshes;
  std::vector<FbxMaterialFacts> materials;
  std::vector<FbxTextureFacts> textures;
  std::vector<FbxVideoFacts> videos;
  int pose_nodes = 0;
};

// Reads a file, compressed or not; false with a recorded error.
bool ReadFbxFacts(const std::string& file, FbxFacts* facts);
// The same from the bytes of a file.
bool GatherFbxFacts(std::string bytes, FbxFacts* facts);
