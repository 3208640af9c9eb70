// A small scene with everything that a file can hold, for the tests of the writers.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "btstr.h"
#include "fbxrecords.h"
#include "kfbxmath.h"
#include "kfbxscene.h"
#include "kfbxsdkmanager.h"

class KFbxMesh;
class KFbxNode;

using ManagerPtr = std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)>;
ManagerPtr NewManager();

// The names of files in a temporary folder of its own, which goes with the object.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  [[nodiscard]] std::string path(const std::string& name) const { return _folder + "/" + name; }
  [[nodiscard]] int entries() const;

 private:
  std::string _folder;
};

void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

// Three bones of different rotation orders and pre-rotations, and under the first a mesh of two
// points per bone: a triangle in a textured and a quad in a plain material, a skin, a blend shape
// of two channels, and a bind pose of every node.
struct TestScene {
  explicit TestScene(const std::string& picture = "/nowhere/checker.png");

  ManagerPtr manager;
  KFbxScene* scene;
  KFbxNode* hips;
  KFbxNode* spine;
  KFbxNode* head;
  KFbxNode* mesh_node;
  KFbxMesh* mesh;
};

// A node of the scene under a parent.
KFbxNode* AddNode(KFbxScene* scene, const char* name, KFbxNode* parent);

// Saves the scene in the format of this index, embedding pictures; the exporter's answer.
bool Save(KFbxScene* scene, const std::string& path, int format);

// Saves the scene to a temporary file, expects that the file is good and takes it apart.
FbxFile Exported(KFbxScene* scene, int format);

// What was recorded last, which is forgotten with all before it; empty for nothing.
BtStr TakeMessage();

constexpr int kBinary71 = 0;
constexpr int kAscii71 = 1;
constexpr int kBinary61 = 3;
constexpr int kAscii61 = 4;
