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

// An empty scene with a manager of its own, which goes with it.
using ScenePtr = std::unique_ptr<KFbxScene, void (*)(KFbxScene*)>;
ScenePtr NewScene();

// Three bones of different rotation orders and pre-rotations, and under the first a mesh of two
// points per bone: a triangle in a textured and a quad in a plain material, a skin, a blend shape
// of two channels, and a bind pose of every node.
struct TestScene {
  explicit TestScene(const std::string& picture = "/nowhere/checker.png");
  // Another blend shape of the mesh, with a channel for each slider.
  void addBlendShape(const char* name, const std::vector<const char*>& sliders) const;

  ScenePtr owner = NewScene();
  KFbxScene* scene = owner.get();
  KFbxNode* hips;
  KFbxNode* spine;
  KFbxNode* head;
  KFbxNode* mesh_node;
  KFbxMesh* mesh;
};

// A node of the scene under a parent, the root where none is given.
KFbxNode* AddNode(KFbxScene* scene, const char* name, KFbxNode* parent = nullptr);

// What the scene is saved as in the format of this index, with pictures; empty on a failure.
std::string SavedBytes(KFbxScene* scene, int format);

// Saves the scene, expects that the file is good and takes it apart. Warnings are forgotten.
FbxFile Exported(KFbxScene* scene, int format);

// What was recorded last, which is forgotten with all before it; empty for nothing.
BtStr TakeMessage();

constexpr int kBinary71 = 0;
constexpr int kAscii71 = 1;
constexpr int kBinary61 = 3;
constexpr int kAscii61 = 4;
