// What the mapping and captured motion add to a scene: takes, and user properties of the skeleton.
#pragma once

#include "baframe.h"

class BaModelData;
class BaMotion;
class BaUnlockedMapping;
class BtStr;
class KFbxScene;

// Adds a take in which the motion moves the nodes and drives the sliders of a scene that was made
// from these with this scale factor. The first take gives the scene its frame rate. Bodies that the
// mapping does not drive stay at rest. False, with an error recorded, when the user wants to stop.
bool AddTake(KFbxScene* scene, const BaModelData& model_data, const BaUnlockedMapping& mapping,
             const BaMotion& motion, const BtStr& name, const BaVariableUnits& units,
             float scale_factor);

// Tells each body's node in user properties where it comes from: "bodyId", and for a mapped body
// "transforms", the names of its transforms in the order in which they are applied, and under each
// of these names what drives it, such as "v12" or "0.5 * v12 - v13 + 3". What nothing drives has no
// property.
void AddUserProperties(KFbxScene* scene, const BaModelData& model_data,
                       const BaUnlockedMapping& mapping);
