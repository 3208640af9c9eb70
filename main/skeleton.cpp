#include "skeleton.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "Ba/babodymap.h"
#include "Ba/bamapping.h"
#include "Ba/bamdbody.h"
#include "Ba/bamodeldata.h"
#include "Bt/btangles.h"
#include "Bt/btcoordsys.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxskeleton.h"
#include "displaylayers.h"
#include "limbsizes.h"
#include "mesh.h"

namespace {

constexpr const char* kWorld = BaMDBody::kWorldName;

// Indexed by the file's rotation order value.
constexpr std::string_view kRotationOrders[] = {"XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX"};

// Translation and rotation of a body against its parent, as its node holds them.
struct Placement {
  float translation[3];  // unscaled
  float rotation[3];     // degrees about X, Y and Z
};

Placement PlacementOf(const BaModelData& model_data, const BaMDBody& body) {
  constexpr int kSequence[3] = {3, 2, 1};
  BtCoordSystem coord_system;
  model_data.getCoordSystem(body, &coord_system);
  float angles[3];
  BtGetDecomposedRotationMatrix(angles, kSequence, coord_system.rotation());
  Placement placement = {};
  for (int axis = 0; axis < 3; ++axis) {
    placement.translation[axis] = coord_system.origin()[static_cast<std::size_t>(axis)];
    placement.rotation[axis] = angles[axis] * kBtDegreesPerRadian;
  }
  return placement;
}

KFbxNode* CreateNode(KFbxScene* scene, const BaModelData& model_data, const BaMDBody& body,
                     const BaUnlockedMapping& mapping, float scale_factor) {
  KFbxSkeleton* skel_attribute = KFbxSkeleton::Create(scene, body.name());
  BtAssert(skel_attribute);
  skel_attribute->SetSkeletonType(KFbxSkeleton::eLIMB_NODE);
  KFbxNode* skel_node = KFbxNode::Create(scene, body.name());
  BtAssert(skel_node);
  skel_node->SetNodeAttribute(skel_attribute);

  const Placement placement = PlacementOf(model_data, body);
  const float* t = placement.translation;
  const float* r = placement.rotation;
  skel_node->LclTranslation.Set(
      KFbxVector4(t[0] * scale_factor, t[1] * scale_factor, t[2] * scale_factor, 1.0));
  skel_node->SetRotationActive(true);
  skel_node->SetRotationOrder(KFbxNode::eSOURCE_SET, GetRotationOrder(body, mapping));
  skel_node->SetPreRotation(KFbxNode::eSOURCE_SET, KFbxVector4(r[0], r[1], r[2], 1.0));
  return skel_node;
}

// A body whose children are being built. Chains may be long, so this stack stands for recursion.
struct Level {
  const BaMDBody* body;
  KFbxNode* node;
  const std::vector<BaMDBody*>* children;
  std::size_t next_child;
  bool has_geometry;
};

// Decides, once a body's subtree is built, whether the body gets a mesh.
void AddGeoBody(const Level& level, bool has_polys, bool mesh_per_body, GeoBodies* geo_bodies) {
  BtAssert(geo_bodies, "geo_bodies_ptr");
  if (mesh_per_body ? has_polys : level.body->isTopLevel()) geo_bodies->append(level.body);
}

// False, with an error recorded, when a node is placed beyond all numbers, by its own transform or
// by those above it. Whatever is computed from such a place is of no use.
bool CheckPlaces(KFbxScene* scene) {
  std::vector<KFbxNode*> waiting = {scene->GetRootNode()};
  while (!waiting.empty()) {
    KFbxNode* node = waiting.back();
    waiting.pop_back();
    const auto& values = scene->GetEvaluator()->GetNodeGlobalTransform(node).Values();
    if (!std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); })) {
      return BtFail(BtCode("number-out-of-range"),
                    "Unable to write \"%s\": its transform is not finite.", node->GetName());
    }
    for (int i = node->GetChildCount() - 1; i >= 0; --i) waiting.push_back(node->GetChild(i));
  }
  return true;
}

}  // namespace

void CreateSkeletons(KFbxScene* scene, const BaModelData& model_data,
                     const BaUnlockedMapping& mapping, float scale_factor, bool mesh_per_body,
                     SceneMaterials* materials, UsedUp used_up) {
  GeoBodies geo_bodies;
  bool has_geometry = false;
  CreateChildSkeletonNodes(model_data, kWorld, &geo_bodies, &has_geometry, scene, mapping,
                           scale_factor, scene->GetRootNode(), mesh_per_body);
  if (used_up.mapping != nullptr) used_up.mapping->clear();
  if (theExceptObj.checkCancel() || !CheckPlaces(scene)) return;
  SetLimbSizes(scene->GetRootNode());
  MeshBuilder meshes(scene, model_data, scale_factor, materials);
  int n_left = geo_bodies.count();
  for (const BaMDBody* geo_body : geo_bodies) {
    if (theExceptObj.checkCancel()) return;
    BtAssert(geo_body, "geo_body_ptr");
    KFbxNode* node =
        geo_body->name() == kWorld ? scene->GetRootNode() : scene->FindNodeByName(geo_body->name());
    node->AddChild(meshes.createSingleMeshGeometry(*geo_body, node, !mesh_per_body,
                                                   --n_left == 0 ? used_up.model_data : nullptr));
  }
  AddDisplayLayers(scene);
  StoreBindPose(scene, scene->GetRootNode(), "BindPose");
}

void CreateChildSkeletonNodes(const BaModelData& model_data, const BtStr& parent_name,
                              GeoBodies* geo_bodies, bool* has_geometry, KFbxScene* scene,
                              const BaUnlockedMapping& mapping, float scale_factor,
                              KFbxNode* parent_node, bool mesh_per_body) {
  *has_geometry = false;
  for (const BaMDBody* body : model_data.childBodies(parent_name)) {
    if (theExceptObj.cancelAsked()) return;
    if (body == nullptr) continue;
    bool child_has_geometry = false;
    KFbxNode* child_node = CreateSkeletonNodes(geo_bodies, &child_has_geometry, scene, model_data,
                                               *body, mapping, scale_factor, mesh_per_body);
    BtAssert(child_node);
    parent_node->AddChild(child_node);
    *has_geometry |= child_has_geometry;
  }
}

KFbxNode* CreateSkeletonNodes(GeoBodies* geo_bodies, bool* has_geometry, KFbxScene* scene,
                              const BaModelData& model_data, const BaMDBody& body,
                              const BaUnlockedMapping& mapping, float scale_factor,
                              bool mesh_per_body) {
  *has_geometry = false;
  KFbxNode* const skel_node = CreateNode(scene, model_data, body, mapping, scale_factor);
  std::vector<Level> levels = {{&body, skel_node, &model_data.childBodies(body), 0, false}};
  while (!theExceptObj.cancelAsked()) {
    Level& level = levels.back();
    if (level.next_child < level.children->size()) {
      const BaMDBody* child = (*level.children)[level.next_child++];
      if (child == nullptr) continue;
      KFbxNode* child_node = CreateNode(scene, model_data, *child, mapping, scale_factor);
      BtAssert(child_node);
      level.node->AddChild(child_node);
      levels.push_back({child, child_node, &model_data.childBodies(*child), 0, false});
      continue;
    }
    const bool has_polys = BodyHasPolys(model_data, *level.body);
    const bool chain_has_polys = has_polys || level.has_geometry;
    if (chain_has_polys) AddGeoBody(level, has_polys, mesh_per_body, geo_bodies);
    levels.pop_back();
    if (levels.empty()) {
      *has_geometry = chain_has_polys;
      break;
    }
    levels.back().has_geometry |= chain_has_polys;
  }
  return skel_node;
}

KFbxNode::ERotationOrder GetRotationOrder(const BaMDBody& body, const BaUnlockedMapping& mapping) {
  const BaUnlockedBodyMap* body_map = body.hasId() ? mapping.bodyMap(body.id()) : nullptr;
  if (body_map == nullptr) return KFbxNode::ERotationOrder{};
  std::string order_str = body_map->rotationLetters();
  std::reverse(order_str.begin(), order_str.end());
  const auto* order = std::find(std::begin(kRotationOrders), std::end(kRotationOrders), order_str);
  BtAssert(order != std::end(kRotationOrders), "order_str==\"ZYX\"");
  return static_cast<KFbxNode::ERotationOrder>(order - std::begin(kRotationOrders));
}

void StoreBindPose(KFbxScene* scene, KFbxNode* start, const char* pose_name) {
  KFbxPose* pose = nullptr;
  for (int i = 0; i < scene->GetPoseCount() && pose == nullptr; ++i) {
    if (BtStr(scene->GetPose(i)->GetName()) == pose_name) pose = scene->GetPose(i);
  }
  const bool is_new = pose == nullptr;
  if (is_new) {
    pose = KFbxPose::Create(scene, pose_name);
    pose->SetIsBindPose(true);
  }
  std::vector<KFbxNode*> waiting = {start};
  while (!waiting.empty()) {
    KFbxNode* node = waiting.back();
    waiting.pop_back();
    const KFbxXMatrix& global = scene->GetEvaluator()->GetNodeGlobalTransform(node, KTIME_INFINITE);
    if (pose->Add(node, global, false, true) == -1) {
      std::cerr << "Unable to store bind pose for node " << node->GetName() << ".\n";
    }
    for (int i = node->GetChildCount() - 1; i >= 0; --i) waiting.push_back(node->GetChild(i));
  }
  if (is_new) scene->AddPose(pose);
}
