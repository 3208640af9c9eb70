// What there is to say about an FBX file that kestrix wrote.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fbxrecordreader.h"
#include "modelfacts.h"

struct FbxNodeFacts {
  std::string name;
  std::string kind;  // "LimbNode", "Mesh"
  int parent = -1;   // index, -1 for the scene
  int depth = 0;
  Point translation = {};
  Point pre_rotation = {};  // degrees
  Point rotation = {};      // the same, behind that before
  Point scaling = {1, 1, 1};
  std::string rotation_order;
  std::size_t record = FbxRecordFile::kNone;
};

// Where the numbers of a mesh stand: indices of records, kNone where they are not written.
struct FbxClusterRecords {
  std::string bone;
  std::size_t cluster;
};
struct FbxMeshRecords {
  std::size_t geometry = FbxRecordFile::kNone;
  std::vector<std::string> materials;  // in the order in which polygons number them
  std::vector<FbxClusterRecords> clusters;
  std::vector<std::pair<std::string, std::size_t>> shapes;
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
  FbxMeshRecords records;
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
  std::set<std::string> uses;  // "material property", of each that shows it
};

struct FbxVideoFacts {
  std::string name;
  std::string file;
  std::uint64_t embedded_bytes = 0;
  std::uint64_t hash = 0;  // of those bytes, within this process
};

// What moves one number of a node.
struct FbxCurveFacts {
  std::string name;  // "b_Hip_01 Lcl Rotation X"
  double constant = 0;
  // Records: times and values, or one of both (time, value, kind); kNone for a constant.
  std::size_t times = FbxRecordFile::kNone;
  std::size_t values = FbxRecordFile::kNone;
};
struct FbxTakeFacts {
  std::string name;
  std::int64_t start = 0;  // in units of the file
  std::int64_t stop = 0;
  std::vector<FbxCurveFacts> curves;
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
  std::vector<FbxTakeFacts> takes;
  int pose_nodes = 0;
};

// A file with what there is to say about it.
struct FbxContents {
  FbxRecordFile records;
  FbxFacts facts;
};

// Reads a file, compressed or not; false with a recorded error.
bool ReadFbxFacts(const std::string& file, FbxFacts* facts);
bool ReadFbxContents(const std::string& file, FbxContents* contents);
// The same from the bytes of a file.
bool GatherFbxFacts(std::string bytes, FbxFacts* facts);
