#include "testscene.h"

#include <gtest/gtest.h>

#include "Bt/btexcept.h"
#include "Fbx/kfbxanimstack.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxdocumentinfo.h"
#include "Fbx/kfbxexporter.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"

namespace {

KFbxNode* AddBone(KFbxScene* scene, const char* name, KFbxNode* parent, const KFbxVector4& t,
                  const KFbxVector4& pre_rotation, EFbxRotationOrder order) {
  KFbxNode* node = AddNode(scene, name, parent);
  KFbxSkeleton* bone = KFbxSkeleton::Create(scene, name);
  bone->Size.Set(7);
  node->SetNodeAttribute(bone);
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

void AddBindPose(TestScene* s) {
  KFbxPose* pose = KFbxPose::Create(s->scene, "BindPose");
  pose->SetIsBindPose(true);
  for (KFbxNode* node : {s->scene->GetRootNode(), s->hips, s->mesh_node, s->spine, s->head}) {
    pose->Add(node, s->scene->GetEvaluator()->GetNodeGlobalTransform(node));
  }
  s->scene->AddPose(pose);
}

}  // namespace

ScenePtr NewScene() {
  return {KFbxScene::Create(KFbxSdkManager::Create(), ""),
          [](KFbxScene* scene) { scene->GetFbxSdkManager()->Destroy(); }};
}

TestScene::TestScene(const std::string& picture) {
  KFbxDocumentInfo* info = KFbxDocumentInfo::Create(scene, "SceneInfo");
  info->mTitle = "A title";
  info->mAuthor = "An author";
  scene->SetSceneInfo(info);
  hips = AddBone(scene, "hips", nullptr, {1, 90, 3}, {0, 0, 0}, eEULER_XYZ);
  spine = AddBone(scene, "spine", hips, {0, 10, 0}, {30, -20, 75}, eEULER_ZYX);
  head = AddBone(scene, "head", spine, {0, 20, 1}, {-90, 0, 45}, eEULER_YZX);
  AddMesh(this, picture);
  AddSkin(this);
  addBlendShape("face", {"smile", "frown"});
  AddBindPose(this);
}

void TestScene::addBlendShape(const char* name, const std::vector<const char*>& sliders) const {
  KFbxBlendShape* blend_shape = KFbxBlendShape::Create(scene, name);
  for (const char* slider : sliders) {
    KFbxBlendShapeChannel* channel = KFbxBlendShapeChannel::Create(scene, slider);
    KFbxShape* shape = KFbxShape::Create(scene, slider);
    shape->AddOffset(1, 0, 0.5, 0);
    shape->AddOffset(4, 0.25, 0, -1);
    channel->AddTargetShape(shape);
    blend_shape->AddBlendShapeChannel(channel);
  }
  mesh->AddDeformer(blend_shape);
}

KFbxBlendShapeChannel* TestScene::smile() const {
  return static_cast<KFbxBlendShape*>(mesh->GetDeformer(1))->GetBlendShapeChannel(0);
}

KFbxAnimStack* TestScene::addTake(const char* name) const {
  const auto times = std::make_shared<std::vector<KTime>>(kTakeTimes);
  KFbxAnimStack* take = KFbxAnimStack::Create(scene, name);
  take->LocalStart.Set(kTakeTimes.front());
  take->LocalStop.Set(kTakeTimes.back());
  take->GetCurveNode(smile())->GetCurve(0)->SetKeys(times, kTakeValues);
  for (const auto property : {KFbxAnimCurveNode::eROTATION, KFbxAnimCurveNode::eTRANSLATION}) {
    KFbxAnimCurveNode* curves = take->GetCurveNode(spine, property);
    curves->GetCurve(0)->SetKeys(times, std::vector<float>(kTakeTimes.size(), 7));
    curves->GetCurve(1)->SetKeys(times, kTakeValues);
    curves->GetCurve(2)->SetKeys(times, std::vector<float>(kTakeTimes.size(), 7));
  }
  scene->AddAnimStack(take);
  return take;
}

KFbxNode* AddNode(KFbxScene* scene, const char* name, KFbxNode* parent) {
  KFbxNode* node = KFbxNode::Create(scene, name);
  (parent == nullptr ? scene->GetRootNode() : parent)->AddChild(node);
  return node;
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
