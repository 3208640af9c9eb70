#include "testscene.h"

#include <gtest/gtest.h>

#include "btexcept.h"
#include "kfbxdeformer.h"
#include "kfbxdocumentinfo.h"
#include "kfbxexporter.h"
#include "kfbxmesh.h"
#include "kfbxnode.h"
#include "kfbxpose.h"
#include "kfbxskeleton.h"
#include "kfbxsurfacephong.h"
#include "kfbxtexture.h"

namespace {

KFbxNode* AddBone(KFbxScene* scene, const char* name, KFbxNode* parent, const KFbxVector4& t,
                  const KFbxVector4& pre_rotation, EFbxRotationOrder order) {
  KFbxNode* node = AddNode(scene, name, parent);
  node->SetNodeAttribute(KFbxSkeleton::Create(scene, name));
  node->LclTranslation.Set(t);
  node->SetRotationActive(true);
  node->SetRotationOrder(KFbxNode::eSOURCE_SET, order);
  node->SetPreRotation(KFbxNode::eSOURCE_SET, pre_rotation);
  return node;
}

KFbxSurfacePhong* TexturedMaterial(KFbxScene* scene, const std::string& picture) {
  KFbxSurfacePhong* material = KFbxSurfacePhong::Create(scene, "checkered");
  material->DiffuseColor.Set(KFbxVector4(0.9, 0.5, 0.25));
  material->ShininessExponent.Set(12.5);
  material->TransparentColor.Set(KFbxVector4(1, 1, 1));
  material->TransparencyFactor.Set(0.25);
  KFbxVideo* video = KFbxVideo::Create(scene, "checker");
  video->SetFileName(picture.c_str());
  video->SetContentFile(picture.c_str());
  video->SetRelativeFileName("checker.png");
  KFbxTexture* texture = KFbxTexture::Create(scene, "checker");
  texture->SetFileName(picture.c_str());
  texture->SetRelativeFileName("checker.png");
  texture->SetUVSet("map1");
  texture->SetWrapMode(KFbxTexture::eREPEAT, KFbxTexture::eCLAMP);
  texture->SetMedia(video);
  material->Connect(texture, "DiffuseColor");
  return material;
}

void AddSkin(TestScene* s) {
  KFbxSkin* skin = KFbxSkin::Create(s->scene, "");
  KFbxSceneEvaluator* evaluator = s->scene->GetEvaluator();
  int point = 0;
  for (KFbxNode* bone : {s->hips, s->spine, s->head}) {
    KFbxCluster* cluster = KFbxCluster::Create(s->scene, "");
    cluster->SetLink(bone);
    cluster->AddControlPointIndex(point++, 1.0);
    cluster->AddControlPointIndex(point++, 1.0);
    cluster->SetTransformMatrix(evaluator->GetNodeGlobalTransform(s->mesh_node));
    cluster->SetTransformLinkMatrix(evaluator->GetNodeGlobalTransform(bone));
    skin->AddCluster(cluster);
  }
  s->mesh->AddDeformer(skin);
}

void AddBlendShape(TestScene* s) {
  KFbxBlendShape* blend_shape = KFbxBlendShape::Create(s->scene, "face");
  for (const char* name : {"smile", "frown"}) {
    KFbxBlendShapeChannel* channel = KFbxBlendShapeChannel::Create(s->scene, name);
    KFbxShape* shape = KFbxShape::Create(s->scene, name);
    shape->AddOffset(1, 0, 0.5, 0);
    shape->AddOffset(4, 0.25, 0, -1);
    channel->AddTargetShape(shape);
    blend_shape->AddBlendShapeChannel(channel);
  }
  s->mesh->AddDeformer(blend_shape);
}

void AddMesh(TestScene* s, const std::string& picture) {
  s->mesh_node = AddNode(s->scene, "hips_mesh", s->hips);
  s->mesh_node->LclTranslation.Set(KFbxVector4(0.5, 0, 0));
  s->mesh = KFbxMesh::Create(s->scene, "hips_mesh");
  s->mesh_node->SetNodeAttribute(s->mesh);
  s->mesh->GetControlPoints() = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 2, 0, 1, 2, 0.125};
  const int textured = s->mesh_node->AddMaterial(TexturedMaterial(s->scene, picture));
  const int plain = s->mesh_node->AddMaterial(KFbxSurfacePhong::Create(s->scene, "hips"));
  s->mesh->BeginPolygon(textured);
  for (const int corner : {0, 1, 2}) s->mesh->AddPolygon(corner, corner);
  s->mesh->EndPolygon();
  s->mesh->BeginPolygon(plain);
  for (const int corner : {3, 2, 5, 4}) s->mesh->AddPolygon(corner);
  s->mesh->EndPolygon();
  s->mesh->SetUVs("map1", {0, 0, 1, 0, 1, 1});
  s->mesh->SetNormals(KFbxMesh::eBY_POLYGON_VERTEX, {0, 0, 1, 0, 0, -1}, {0, 0, 0, 1, 1, 1, 1});
}

void AddBindPose(KFbxScene* scene) {
  KFbxPose* pose = KFbxPose::Create(scene, "BindPose");
  pose->SetIsBindPose(true);
  std::vector<KFbxNode*> waiting = {scene->GetRootNode()};
  while (!waiting.empty()) {
    KFbxNode* node = waiting.back();
    waiting.pop_back();
    pose->Add(node, scene->GetEvaluator()->GetNodeGlobalTransform(node));
    for (int i = 0; i < node->GetChildCount(); ++i) waiting.push_back(node->GetChild(i));
  }
  scene->AddPose(pose);
}

}  // namespace

ManagerPtr NewManager() {
  return {KFbxSdkManager::Create(), [](KFbxSdkManager* manager) { manager->Destroy(); }};
}

TestScene::TestScene(const std::string& picture)
    : manager(NewManager()), scene(KFbxScene::Create(manager.get(), "")) {
  KFbxDocumentInfo* info = KFbxDocumentInfo::Create(manager.get(), "SceneInfo");
  info->mTitle = "A title";
  info->mAuthor = "An author";
  scene->SetSceneInfo(info);
  hips = AddBone(scene, "hips", scene->GetRootNode(), {1, 90, 3}, {0, 0, 0}, eEULER_XYZ);
  spine = AddBone(scene, "spine", hips, {0, 10, 0}, {30, -20, 75}, eEULER_ZYX);
  head = AddBone(scene, "head", spine, {0, 20, 1}, {-90, 0, 45}, eEULER_YZX);
  AddMesh(this, picture);
  AddSkin(this);
  AddBlendShape(this);
  AddBindPose(scene);
}

KFbxNode* AddNode(KFbxScene* scene, const char* name, KFbxNode* parent) {
  KFbxNode* node = KFbxNode::Create(scene, name);
  parent->AddChild(node);
  return node;
}

bool Save(KFbxScene* scene, const std::string& path, int format) {
  KFbxExporter* exporter = KFbxExporter::Create(scene, "");
  exporter->GetIOSettings()->SetBoolProp(EXP_FBX_EMBEDDED, true);
  const bool saved = exporter->Initialize(path.c_str(), format) && exporter->Export(scene);
  exporter->Destroy();
  return saved;
}

std::string SavedBytes(KFbxScene* scene, int format) {
  std::string bytes = "older";
  KFbxExporter* exporter = KFbxExporter::Create(scene, "");
  exporter->GetIOSettings()->SetBoolProp(EXP_FBX_EMBEDDED, true);
  EXPECT_TRUE(exporter->Initialize("memory", format));
  const bool exported = exporter->Export(scene, &bytes);
  EXPECT_EQ(bytes.empty(), !exported);
  exporter->Destroy();
  return bytes;
}

BtStr TakeMessage() {
  if (!theExceptObj.hasException()) return "";
  BtStr message = theExceptObj.exception().message();
  theExceptObj.clear();
  return message;
}

FbxFile Exported(KFbxScene* scene, int format) {
  FbxFile file = ParseFbx(SavedBytes(scene, format));
  EXPECT_FALSE(BtError());
  theExceptObj.clear();
  EXPECT_EQ(file.fault, "");
  return file;
}
