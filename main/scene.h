// The scene of one conversion: created, filled and checked here.
#pragma once

#include "usedup.h"

class BaModelData;
class BaUnlockedMapping;
class BtStr;
class KFbxScene;
class KFbxSdkManager;

// Records an error at the first body map of the mapping whose body the model does not have.
void CheckMapping(const BaUnlockedMapping& mapping, const BaModelData& model_data);

// Makes the manager and, in it, an empty scene. Both are null where the manager cannot be made.
void InitializeSdk(KFbxSdkManager** manager, KFbxScene** scene);

// Destroys the manager and with it everything made through it; does nothing for null.
void DestroySdk(KFbxSdkManager* manager);

// Fills the scene: document information, then skeleton, meshes and bind pose. `model_file` is the
// path that the model was read from; its folder is where textures are looked for. False, with an
// error recorded, when the user wants to stop and for transforms, points and effects that are not
// finite, or are not once they are scaled and put together.
bool CreateScene(KFbxSdkManager* manager, KFbxScene* scene, const BaModelData& model_data,
                 const BtStr& model_file, const BaUnlockedMapping& mapping, float scale_factor,
                 bool mesh_per_body, UsedUp used_up = {});
