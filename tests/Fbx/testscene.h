// A small scene with everything that a file can hold, for the tests of the writers.
#pragma once

#include <memory>
#include <string>

#include "btstr.h"
#include "fbxrecords.h"
#include "kfbxmath.h"
#include "kfbxscene.h"
#include "kfbxsdkmanager.h"
#include "support/testfolder.h"

class KFbxMesh;
class KFbxNode;

using ManagerPtr = std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)>;
ManagerPtr NewManager();

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
// The same in memory; empty on a failure.
std::string SavedBytes(KFbxScene* scene, int format);

// Saves the scene, expects that the file is good and takes it apart. Warnings are forgotten.
FbxFile Exported(KFbxScene* scene, int format);

// What was recorded last, which is forgotten with all before it; empty for nothing.
BtStr TakeMessage();

constexpr int kBinary71 = 0;
constexpr int kAscii71 = 1;
constexpr int kBinary61 = 3;
constexpr int kAscii61 = 4;
