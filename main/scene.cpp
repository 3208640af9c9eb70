#include "scene.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Ba/bamapping.h"
#include "Ba/bamdbody.h"
#include "Ba/bamdvertexeffects.h"
#include "Ba/bamdvertices.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Fbx/kfbxdocumentinfo.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsdkmanager.h"
#include "bttextfile.h"
#include "material.h"
#include "skeleton.h"
#include "version.h"

namespace {

KFbxDocumentInfo* CreateDocumentInfo(KFbxSdkManager* manager, const BtStr& model_file) {
  KFbxDocumentInfo* scene_info = KFbxDocumentInfo::Create(manager, "SceneInfo");
  BtAssert(scene_info);
  scene_info->mTitle = "Converted Asset";
  scene_info->mSubject = "Converted from " + BtFileBaseName(BtTextFileName(model_file));
  scene_info->mAuthor = "Vemra Studios";
  scene_info->mRevision = "rev. 1.0";
  scene_info->mKeywords = "motion capture assets";
  scene_info->mComment = "";
  scene_info->mApplicationVendor = "Vemra Studios";
  scene_info->mApplicationName = "kestrix";
  scene_info->mApplicationVersion = kKestrixVersion;
  return scene_info;
}

template <class Numbers>
bool AreFinite(const Numbers& numbers) {
  return std::all_of(std::begin(numbers), std::end(numbers),
                     [](float f) { return std::isfinite(f); });
}

bool AreFinite(const BaMDVertexEffects& effects) {
  const auto* flex = effects.asFlex();
  const auto* blend = effects.asBlend();
  return (flex == nullptr ||
          std::all_of(flex->weights().begin(), flex->weights().end(),
                      [](const auto& entry) { return std::isfinite(entry.weight); })) &&
         (blend == nullptr || std::all_of(blend->vectors().begin(), blend->vectors().end(),
                                          [](const auto& entry) { return AreFinite(entry.v); }));
}

bool CannotWrite(const BtStr& name, const char* fault) {
  return BtFail(BtCode("number-out-of-range"), "Unable to write \"%s\": %s.",
                static_cast<const char*>(name), fault);
}

// Files hold finite numbers only, but models may come from elsewhere.
bool CheckNumbers(const BaModelData& model_data) {
  const bool has_unit = std::isfinite(model_data.radiansPerAngleUnit());
  for (const BaMDBody* body : model_data.bodies()) {
    const BaMDCoordSys& place = body->coordSys();
    if (!has_unit || !AreFinite(place.translation()) || !AreFinite(place.rotation())) {
      return CannotWrite(body->name(), "its transform is not finite");
    }
  }
  for (const BaMDVertices* vertices : model_data.vertexSets()) {
    const auto& points = vertices->coordinates();
    if (!std::all_of(points.begin(), points.end(), [](const BaMDPoint& p) {
          return AreFinite(std::array{p.x, p.y, p.z});
        })) {
      return CannotWrite(vertices->name(), "a point is not finite");
    }
    for (const BaMDVertexEffects* effects : vertices->effects()) {
      if (!AreFinite(*effects)) return CannotWrite(vertices->name(), "an effect is not finite");
    }
  }
  return true;
}

}  // namespace

void CheckMapping(const BaUnlockedMapping& mapping, const BaModelData& model_data) {
  for (const BaUnlockedBodyMap* body_map : mapping.bodyMaps()) {
    if (model_data.bodyById(body_map->bodyId()) != nullptr) continue;
    BtFail(BtCode("mapped-body-missing"),
           "The dof specifies a body with id %d, but there is no such body in the model.",
           body_map->bodyId());
    return;
  }
}

void InitializeSdk(KFbxSdkManager** manager, KFbxScene** scene) {
  *manager = KFbxSdkManager::Create();
  *scene = *manager == nullptr ? nullptr : KFbxScene::Create(*manager, "");
}

void DestroySdk(KFbxSdkManager* manager) {
  if (manager != nullptr) manager->Destroy();
}

bool CreateScene(KFbxSdkManager* manager, KFbxScene* scene, const BaModelData& model_data,
                 const BtStr& model_file, const BaUnlockedMapping& mapping, float scale_factor,
                 bool mesh_per_body, UsedUp used_up) {
  if (!CheckNumbers(model_data)) return false;
  scene->SetSceneInfo(CreateDocumentInfo(manager, model_file));
  SceneMaterials materials(scene, model_data, BtFileDirectory(model_file));
  CreateSkeletons(scene, model_data, mapping, scale_factor, mesh_per_body, &materials, used_up);
  return !BtError();
}
