#include "Fbx/kfbxscene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxsurfacephong.h"
#include "testscene.h"

namespace {

void ExpectNear(const KFbxVector4& a, const KFbxVector4& b) {
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(a[i], b[i], 1e-12) << i;
}

TEST(KFbxXMatrix, TurnsAboutTheFirstAxisFirst) {
  // Where the X axis goes by quarter turns about all three axes.
  const std::pair<EFbxRotationOrder, KFbxVector4> cases[] = {
      {eEULER_XYZ, {0, 0, -1}}, {eEULER_XZY, {0, 1, 0}}, {eEULER_YZX, {0, 1, 0}},
      {eEULER_YXZ, {-1, 0, 0}}, {eEULER_ZXY, {1, 0, 0}}, {eEULER_ZYX, {0, 0, 1}},
  };
  for (const auto& [order, image] : cases) {
    EXPECT_EQ(KFbxXMatrix::Rotation({90, 90, 90}, order).MultR({1, 0, 0}), image) << order;
  }
  for (const double angle : {-450., -180., -90., -30., 90., 135., 180., 270., 720., 30.}) {
    const KFbxXMatrix turn = KFbxXMatrix::Rotation({0, 0, angle});
    const double radians = angle * 3.14159265358979323846 / 180;
    ExpectNear(turn.MultR({1, 0, 0}), {std::cos(radians), std::sin(radians), 0});
    ExpectNear(turn.MultRBack({std::cos(radians), std::sin(radians), 0}), {1, 0, 0});
  }
}

TEST(KFbxXMatrix, IsUndoneByItsInverse) {
  const KFbxXMatrix matrix = KFbxXMatrix::Translation({1, -2, 3}) *
                             KFbxXMatrix::Rotation({10, 20, 30}, eEULER_ZXY) *
                             KFbxXMatrix::Scaling({2, 3, -0.5});
  const KFbxVector4 point(5, 6, 7);
  ExpectNear(matrix.Inverse().MultT(matrix.MultT(point)), point);
  ExpectNear((matrix * matrix.Inverse()).MultT(point), point);
  EXPECT_EQ(matrix.MultT({0, 0, 0}), matrix.GetT());
}

TEST(KFbxSceneEvaluator, FollowsChangesAndLongChains) {
  const ScenePtr owner = NewScene();
  KFbxScene* scene = owner.get();
  KFbxSceneEvaluator* evaluator = scene->GetEvaluator();
  constexpr int kLength = 50000;
  std::vector<KFbxNode*> chain = {scene->GetRootNode()};
  for (int i = 0; i < kLength; ++i) {
    chain.push_back(AddNode(scene, "link", chain.back()));
    chain.back()->LclTranslation.Set(KFbxVector4(1, 0, 0));
  }
  KFbxNode* last = chain.back();
  EXPECT_EQ(evaluator->GetNodeGlobalTransform(last).Get(3, 0), kLength);
  for (KFbxNode* node : chain) evaluator->GetNodeGlobalTransform(node, KTIME_INFINITE);

  KFbxNode* first = chain[1];
  const auto place = [&] { return evaluator->GetNodeGlobalTransform(last).GetT(); };
  first->LclTranslation.Set(KFbxVector4(2, 0, 0));
  EXPECT_EQ(place(), KFbxVector4(kLength + 1, 0, 0));
  first->SetPreRotation(KFbxNode::eSOURCE_SET, KFbxVector4(0, 0, 90));
  EXPECT_EQ(place(), KFbxVector4(kLength + 1, 0, 0));  // not while rotation is off
  first->SetRotationActive(true);
  EXPECT_EQ(place(), KFbxVector4(2, kLength - 1, 0));
  first->LclRotation.Set(KFbxVector4(90, 90, 0));
  EXPECT_EQ(place(), KFbxVector4(2, 0, -(kLength - 1)));
  first->SetRotationOrder(KFbxNode::eSOURCE_SET, eEULER_ZYX);
  EXPECT_EQ(place(), KFbxVector4(2 - (kLength - 1), 0, 0));
  first->LclScaling.Set(KFbxVector4(2, 1, 1));
  EXPECT_EQ(place(), KFbxVector4(2 - 2 * (kLength - 1), 0, 0));
  scene->GetRootNode()->AddChild(last);
  EXPECT_EQ(place(), KFbxVector4(1, 0, 0));
}

TEST(KFbxNode, KeepsATree) {
  const ScenePtr owner = NewScene();
  KFbxScene* scene = owner.get();
  KFbxNode* a = AddNode(scene, "a");
  KFbxNode* b = AddNode(scene, "b", a);
  KFbxNode* c = AddNode(scene, "c", b);
  EXPECT_FALSE(a->AddChild(a));
  EXPECT_FALSE(c->AddChild(a));
  EXPECT_FALSE(a->AddChild(nullptr));
  EXPECT_TRUE(a->AddChild(c));
  EXPECT_EQ(b->GetChildCount(), 0);
  EXPECT_EQ(a->GetChildCount(), 2);
  EXPECT_EQ(c->GetParent(), a);

  KFbxNode* twin = KFbxNode::Create(scene, "b");
  EXPECT_NE(twin, scene->FindNodeByName("b"));
  EXPECT_EQ(scene->FindNodeByName("b"), b);
  EXPECT_EQ(scene->FindNodeByName("d"), nullptr);
  EXPECT_EQ(scene->FindNodeByName(nullptr), nullptr);

  KFbxSurfacePhong* first = KFbxSurfacePhong::Create(scene, "m");
  EXPECT_EQ(a->AddMaterial(first), 0);
  EXPECT_EQ(a->AddMaterial(KFbxSurfacePhong::Create(scene, "m")), 1);
  EXPECT_EQ(a->AddMaterial(first), 0);
  EXPECT_EQ(a->GetMaterialCount(), 2);
}

TEST(KFbxMesh, DropsPolygonsThatAreNone) {
  const ScenePtr scene = NewScene();
  KFbxMesh* mesh = KFbxMesh::Create(scene.get(), "m");
  mesh->GetControlPoints().assign(12, 0.0);
  for (const std::vector<int>& corners :
       {std::vector{0, 1}, {0, 1, 2}, std::vector<int>{}, {3, 2, 1, 0}}) {
    mesh->BeginPolygon();
    for (const int corner : corners) mesh->AddPolygon(corner);
    mesh->EndPolygon();
  }
  EXPECT_EQ(mesh->Complete(0), nullptr);
  EXPECT_EQ(mesh->GetPolygonVertices(), (std::vector<std::int32_t>{0, 1, -3, 3, 2, 1, -1}));
  EXPECT_EQ(mesh->GetPolygonCount(), 2);
  EXPECT_TRUE(mesh->GetUVIndices().empty());  // no corner has a coordinate
}

}  // namespace
