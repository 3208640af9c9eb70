#include "scene.h"

#include "bamapping.h"
#include "bamodeldata.h"
#include "btexcept.h"
#include "btfile.h"
#include "bttextfile.h"
#include "kfbxdocumentinfo.h"
#include "kfbxscene.h"
#include "kfbxsdkmanager.h"
#include "material.h"
#include "skeleton.h"

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
  return scene_info;
}

}  // namespace

void CheckMapping(const BaUnlockedMapping& mapping, const BaModelData& model_data) {
  for (const BaUnlockedBodyMap* body_map : mapping.bodyMaps()) {
    if (model_data.bodyById(body_map->bodyId()) != nullptr) continue;
    theExceptObj.set("The dof specifies a body with id %d, but there is no such body in the model.",
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
                 bool mesh_per_body) {
  scene->SetSceneInfo(CreateDocumentInfo(manager, model_file));
  SceneMaterials materials(scene, model_data, BtFileDirectory(model_file));
  CreateSkeletons(scene, model_data, mapping, scale_factor, mesh_per_body, &materials);
  return !BtError();
}
