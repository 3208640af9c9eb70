// The skeleton of the scene: one limb node per body, the meshes that hang under them, the bind
// pose.
#pragma once

#include "Bt/btlist.h"
#include "Fbx/kfbxnode.h"
#include "usedup.h"

class BaMDBody;
class BaModelData;
class BaUnlockedMapping;
class KFbxScene;
class SceneMaterials;

// The bodies that get a mesh, each after the bodies below it.
using GeoBodies = BtList<const BaMDBody*>;

// Builds the whole tree under the scene's root node, the meshes and the bind pose. Lengths are
// multiplied by `scale_factor`. With `mesh_per_body` every body with polygons gets a mesh of its
// own, otherwise every top-level body whose chain has polygons gets one for the whole chain. Leaves
// the scene as it is, with an error recorded, when the user wants to stop or the place of a body is
// not finite.
void CreateSkeletons(KFbxScene* scene, const BaModelData& model_data,
                     const BaUnlockedMapping& mapping, float scale_factor, bool mesh_per_body,
                     SceneMaterials* materials, UsedUp used_up);

// Builds the nodes of all bodies whose parent has the given name, with everything below them, and
// adds them to `parent_node`. Appends the bodies that get a mesh to `geo_bodies`. `has_geometry`
// becomes true when any of these bodies holds polygons, otherwise false. Stops in the middle when
// the user wants to.
void CreateChildSkeletonNodes(const BaModelData& model_data, const BtStr& parent_name,
                              GeoBodies* geo_bodies, bool* has_geometry, KFbxScene* scene,
                              const BaUnlockedMapping& mapping, float scale_factor,
                              KFbxNode* parent_node, bool mesh_per_body);

// Builds the node of one body with everything below it and answers the node, which has no parent
// yet. The rest is as above; `has_geometry` becomes true when any body of the subtree holds
// polygons.
KFbxNode* CreateSkeletonNodes(GeoBodies* geo_bodies, bool* has_geometry, KFbxScene* scene,
                              const BaModelData& model_data, const BaMDBody& body,
                              const BaUnlockedMapping& mapping, float scale_factor,
                              bool mesh_per_body);

// The order in which a reader of the file combines a body's rotations: the body map's sequence read
// backwards; XYZ for a body that the mapping does not name, or that has no id to be named by. A map
// that does not rotate about each axis once is an assertion failure.
KFbxNode::ERotationOrder GetRotationOrder(const BaMDBody& body, const BaUnlockedMapping& mapping);

// Adds the global rest transforms of `start` and everything below it to the pose of this name,
// which is made where the scene has none.
void StoreBindPose(KFbxScene* scene, KFbxNode* start, const char* pose_name);
