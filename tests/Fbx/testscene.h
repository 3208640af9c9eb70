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

class KFbxAnimStack;
class KFbxBlendShapeChannel;
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
  // The first channel of the first blend shape.
  [[nodiscard]] KFbxBlendShapeChannel* smile() const;
  // A take with the keys of kTakeTimes: the spine turns and rises by kTakeValues, and so smiles the
  // face; all other axes stand still, at values that are not theirs in the scene.
  KFbxAnimStack* addTake(const char* name) const;

  ScenePtr owner = NewScene();
  KFbxScene* scene = owner.get();
  KFbxNode* hips;
  KFbxNode* spine;
  KFbxNode* head;
  KFbxNode* mesh_node;
  KFbxMesh* mesh;
};

inline const std::vector<KTime> kTakeTimes = {KTIME_ONE_SECOND / 2, KTIME_ONE_SECOND,
                                              2 * KTIME_ONE_SECOND};
inline const std::vector<float> kTakeValues = {0, 400, 50};

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
