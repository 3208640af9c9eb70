// What the scene of a model holds: nodes, their places and orders, meshes, normals, bind pose.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <utility>

#include "Ba/bamdbody.h"
#include "Ba/bamdvertexeffects.h"
#include "Ba/bamdvertices.h"
#include "Bt/btangles.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxdisplaylayer.h"
#include "Fbx/kfbxdocumentinfo.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "builtscene.h"
#include "save.h"
#include "skeleton.h"
#include "support/documenterrors.h"
#include "support/printed.h"

namespace {

constexpr const char* kIdentity = "1 0 0  0 1 0  0 0 1 ";
// A quarter turn about Z for row vectors: X becomes Y.
constexpr const char* kQuarterZ = "0 1 0  -1 0 0  0 0 1 ";
constexpr const char* kMaterial = "M 1 skin\n3 0.5 0.25 0.125\n0\n";

std::string Body(int id, const std::string& name, int parent, const std::string& origin,
                 const char* rotation = kIdentity) {
  return BodyAt(id, name, parent, rotation + origin);
}

// A unit square in the body's XY plane from (x, 0) to (x + 1, 1), facing +Z.
std::string Square(int body, int x) {
  const std::string left = std::to_string(x);
  const std::string right = std::to_string(x + 1);
  return "F " + std::to_string(body) + " 1 4 " + left + " 0 0 -1 " + right + " 0 0 -1 " + right +
         " 1 0 -1 " + left + " 1 0 -1\n";
}

void ExpectNear(const KFbxVector4& actual, double x, double y, double z) {
  const double expected[] = {x, y, z};
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], 2e-5);
}

// The three numbers of an entry of a list.
KFbxVector4 Entry(const std::vector<double>& numbers, std::size_t i) {
  return {numbers.at(3 * i), numbers.at(3 * i + 1), numbers.at(3 * i + 2)};
}

std::vector<std::string> MeshNodes(KFbxNode* node) {
  std::vector<std::string> names;
  if (node->GetMesh() != nullptr) names.emplace_back(node->GetName());
  for (int i = 0; i < node->GetChildCount(); ++i) {
    for (std::string& name : MeshNodes(node->GetChild(i))) names.push_back(std::move(name));
  }
  return names;
}

TEST(Scene, PlacesBodies) {
  const BuiltScene built(
      kHeader + Body(1, "hip bone", 0, "1 2 3") + Body(5, "knee", 1, "0 -10 0", kQuarterZ),
      kEmptyDof, false, 2.0F);
  ExpectNear(built.node("knee")->GetPreRotation(KFbxNode::eSOURCE_SET), 0, 0, 90);
  EXPECT_EQ(built.node("knee")->GetParent(), built.node("hip_bone"));
  const auto* skeleton =
      dynamic_cast<const KFbxSkeleton*>(built.node("hip_bone")->GetNodeAttribute());
  ASSERT_NE(skeleton, nullptr);
  EXPECT_EQ(skeleton->GetSkeletonType(), KFbxSkeleton::eLIMB_NODE);
  EXPECT_TRUE(MeshNodes(built.scene->GetRootNode()).empty());
  EXPECT_EQ(built.scene->GetSceneInfo()->mSubject, "Converted from test.mdl");

  ASSERT_EQ(built.scene->GetPoseCount(), 1);
  const KFbxPose& pose = *built.scene->GetPose(0);
  ASSERT_EQ(pose.GetCount(), 3);
  EXPECT_EQ(pose.GetNode(0), built.scene->GetRootNode());
  EXPECT_EQ(pose.GetNode(2), built.node("knee"));
  ExpectNear(pose.GetMatrix(2).GetT(), 2, -16, 6);
}

TEST(Scene, PutsBonesAndMeshesOnLayers) {
  const auto layers = [](const KFbxScene& scene) {
    std::vector<std::vector<std::string>> names;
    for (const KFbxDisplayLayer* layer : scene.GetDisplayLayers()) {
      names.push_back({layer->GetName()});
      for (const KFbxNode* node : layer->GetMembers()) names.back().emplace_back(node->GetName());
    }
    return names;
  };
  using Layers = std::vector<std::vector<std::string>>;
  const std::string bones = kHeader + BodyAt(1, "a", 0) + BodyAt(2, "b", 1);
  EXPECT_EQ(layers(*BuiltScene(bones, kEmptyDof).scene), (Layers{{"Skeleton", "a", "b"}}));
  EXPECT_EQ(layers(*BuiltScene(bones + kMaterial + Square(2, 0), kEmptyDof).scene),
            (Layers{{"Skeleton", "a", "b"}, {"Geometry", "a_mesh"}}));
}

// Half the distance to the children, the parent's size at the end of a chain, and never too little.
TEST(Scene, SizesBonesByTheirLength) {
  const std::string turned = "1 0 0 0 1 0 0 0 1 ";
  const std::string text = kHeader + BodyAt(1, "a", 0) + BodyAt(2, "b", 1, turned + "10 0 0") +
                           BodyAt(3, "c", 2, turned + "0 2 0") +
                           BodyAt(4, "d", 2, turned + "0 0 4") + BodyAt(5, "e", 4);
  const BuiltScene built(text, kEmptyDof);
  for (const auto& [name, size] :
       {std::pair{"a", 5.0}, {"b", 2.0}, {"c", 2.0}, {"d", 0.2}, {"e", 0.2}}) {
    const auto* bone = dynamic_cast<const KFbxSkeleton*>(built.node(name)->GetNodeAttribute());
    EXPECT_DOUBLE_EQ(bone->Size.Get(), size) << name;
  }
  const BuiltScene single(kHeader + BodyAt(1, "a", 0), kEmptyDof);
  const auto* bone = dynamic_cast<const KFbxSkeleton*>(single.node("a")->GetNodeAttribute());
  EXPECT_EQ(bone->Size.Get(), 100.0);
}

// Angles come out to the last bit, and half a turn stays the half turn that a document says.
TEST(Scene, TurnsBodiesByDegrees) {
  const auto document = [](const char* angle) {
    return kDocumentHeader + "UNITS {\nANGLE: 1 DEGREES\n}\nBODY {\nNAME: a\n" +
           "COORDINATE_SYSTEM {\nTRANSLATION: 0 0 0\nROTATION: 0 0 " + angle +
           " X Y Z\n}\nPARENT_NAME: GLOBAL\n}\n";
  };
  const std::pair<std::string, double> cases[] = {
      {kHeader + BodyAt(1, "a", 0, "0.8660254 0.5 0 -0.5 0.8660254 0 0 0 1 0 0 0"), 30},
      {kHeader + BodyAt(1, "a", 0, "0.5403023 0.841471 0 -0.841471 0.5403023 0 0 0 1 0 0 0"),
       static_cast<double>(kBtDegreesPerRadian)},
      {document("90"), 90},
      {document("180"), 180},
      {document("-45"), -45},
  };
  for (const auto& [model, degrees] : cases) {
    const BuiltScene built(model, kEmptyDof);
    EXPECT_EQ(built.node("a")->GetPreRotation(KFbxNode::eSOURCE_SET)[2], degrees) << model;
  }
}

TEST(Scene, ReadsRotationOrdersBackwards) {
  const std::pair<const char*, EFbxRotationOrder> cases[] = {
      {"1 2 3 6 5 4", eEULER_XYZ}, {"6 5 4 3 2 1", eEULER_XYZ}, {"5 6 4 1 2 3", eEULER_XZY},
      {"4 1 6 2 5 3", eEULER_YZX}, {"6 4 5 1 2 3", eEULER_YXZ}, {"5 4 6 1 2 3", eEULER_ZXY},
      {"4 5 6 1 2 3", eEULER_ZYX},
  };
  for (const auto& [order, expected] : cases) {
    const BuiltScene built(kHeader + BodyAt(1, "a", 0) + BodyAt(2, "b", 1), DofWithOrder(order));
    EXPECT_EQ(built.node("a")->GetRotationOrder(KFbxNode::eSOURCE_SET), expected) << order;
    EXPECT_EQ(built.node("b")->GetRotationOrder(KFbxNode::eSOURCE_SET), eEULER_XYZ);
  }
}

TEST(SceneDeathTest, StopsOnMapsThatDoNotRotateAboutEachAxis) {
  for (const char* order : {"4 4 6 1 2 3", "1 2 3 1 2 3", "4 5 1 2 3 3", "4 5 6 4 5 6"}) {
    EXPECT_DEATH(BuiltScene(kHeader + BodyAt(1, "a", 0), DofWithOrder(order)), "order_str==\"ZYX\"")
        << order;
  }
  // Callers of the library may build body maps of any length and bodies without ids.
  BaUnlockedMapping mapping;
  mapping.addBodyMap({1, {6, 5, 4}, {0, 0, 0, 1, 2, 3}});
  mapping.addBodyMap({2, {4, 5}, {0, 0, 0, 1, 2, 3}});
  mapping.addBodyMap({3, {}, {}});
  BaMDBody body;
  EXPECT_EQ(GetRotationOrder(body, mapping), eEULER_XYZ);
  body.setId(1);
  EXPECT_EQ(GetRotationOrder(body, mapping), eEULER_XYZ);
  for (const int id : {2, 3}) {
    body.setId(id);
    EXPECT_DEATH((void)GetRotationOrder(body, mapping), "order_str==\"ZYX\"") << id;
  }
}

TEST(Scene, ChoosesTheBodiesThatGetMeshes) {
  // top <- empty <- leaf, top <- side; a second chain without polygons.
  const std::string model = kHeader + BodyAt(1, "top", 0) + BodyAt(2, "empty", 1) +
                            BodyAt(3, "leaf", 2) + BodyAt(4, "side", 1) + BodyAt(5, "other", 0) +
                            kMaterial + Square(3, 0) + Square(4, 5);
  const BuiltScene chain(model, kEmptyDof, false);
  EXPECT_EQ(MeshNodes(chain.scene->GetRootNode()), std::vector<std::string>{"top_mesh"});
  EXPECT_EQ(chain.node("top_mesh")->GetParent(), chain.node("top"));
  EXPECT_EQ(chain.mesh("top_mesh").GetPolygonCount(), 2);
  const BuiltScene bodies(model, kEmptyDof, true);
  EXPECT_EQ(MeshNodes(bodies.scene->GetRootNode()),
            (std::vector<std::string>{"leaf_mesh", "side_mesh"}));
  EXPECT_EQ(bodies.node("leaf_mesh")->GetParent(), bodies.node("leaf"));
}

TEST(Scene, SharesNormalsWhereBodiesMeet) {
  // Two squares that meet at a right angle along an edge, each on a body of its own.
  const std::string model = kHeader + Body(1, "flat", 0, "0 0 0") +
                            Body(2, "wall", 1, "1 0 0", "0 0 -1  0 1 0  1 0 0 ") + kMaterial +
                            Square(1, 0) + Square(2, 0);
  const double r = std::sqrt(0.5);
  const BuiltScene chain(model, kEmptyDof, false);
  const std::vector<double>& normals = chain.mesh("flat_mesh").GetNormals();
  ASSERT_EQ(normals.size(), 24U);
  ExpectNear(Entry(normals, 0), 0, 0, 1);
  ExpectNear(Entry(normals, 1), r, 0, r);  // of the first square's second corner
  ExpectNear(Entry(normals, 4), r, 0, r);  // of the second square's first corner
  ExpectNear(Entry(normals, 5), 1, 0, 0);
  // As meshes of their own they shade the same, each in its own space.
  const BuiltScene bodies(model, kEmptyDof, true);
  ExpectNear(Entry(bodies.mesh("flat_mesh").GetNormals(), 1), r, 0, r);
  ExpectNear(Entry(bodies.mesh("wall_mesh").GetNormals(), 0), -r, 0, r);
  ExpectNear(Entry(bodies.mesh("wall_mesh").GetNormals(), 1), 0, 0, 1);
}

TEST(Scene, MakesTrianglesOfStripsAndDropsWhatIsNoFace) {
  const BuiltScene built(
      kHeader + BodyAt(1, "a", 0) + kMaterial +
          // The fourth corner is at the place of the second: the second triangle repeats a vertex.
          "T 1 1 5  0 0 0 0 -1  0 1 0 0 -1  0 0 1 0 -1  0 1 0 0 -1  0 1 1 0 -1\n"
          "t 1 1 4  0 0 0 5 0 0 -1  1 0 0 6 0 0 -1  0 1 0 5 1 0 -1  1 1 0 6 1 0 -1\n"
          // Two parts that are stitched together; the second one begins at an odd place.
          "t 1 1 7  0 0 0 7 0 0 -1  1 0 0 8 0 0 -1  0 1 0 7 1 0 -1  .5 1 0 7 1 0 -1  "
          "1 1 0 8 1 0 -1  0 .5 0 7 2 0 -1  1 .5 0 8 2 0 -1\n"
          "F 1 1 2  0 0 0 -1  9 0 0 -1\n",
      kEmptyDof);
  const KFbxMesh& mesh = built.mesh("a_mesh");
  ASSERT_EQ(mesh.GetPolygonCount(), 7);
  ASSERT_EQ(mesh.GetPolygonVertices().size(), 21U);
  const KFbxVector4 expected[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0},
                                  {5, 0, 0}, {6, 0, 0}, {5, 1, 0}, {5, 1, 0}, {6, 0, 0}, {6, 1, 0},
                                  {7, 0, 0}, {8, 0, 0}, {7, 1, 0}, {8, 1, 0}, {7, 1, 0}, {7, 2, 0},
                                  {8, 1, 0}, {7, 2, 0}, {8, 2, 0}};
  for (std::size_t i = 0; i < 21; ++i) {
    const std::int32_t corner = mesh.GetPolygonVertices()[i];
    const auto point = static_cast<std::size_t>(corner < 0 ? -corner - 1 : corner);
    EXPECT_EQ(Entry(mesh.GetControlPoints(), point), expected[i]) << i;
  }
  // The untextured faces have no coordinates of their own.
  const auto& uv = mesh.GetUVIndices();
  ASSERT_EQ(uv.size(), 21U);
  EXPECT_EQ(std::vector<std::int32_t>(uv.begin() + 6, uv.end()),
            (std::vector<std::int32_t>{0, 1, 2, 2, 1, 3, 0, 1, 2, 3, 4, 5, 3, 5, 6}));
}

// Files hold finite numbers only, models of other programs need not.
TEST(Scene, RefusesNumbersThatAreNotFinite) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  using Change = std::function<void(BaModelData*, BaMDCoordSys*, BaMDVertices*)>;
  const std::array<float, 3> nowhere = {0, kNan, 0};
  const BaUnits no_unit = {"DEGREES", kNan};
  const BtDArray<BaMDPoint> points = {{0, 0, 0}, {0, 0, kNan}};
  const std::pair<Change, const char*> cases[] = {
      {[&](auto*, auto* place, auto*) { place->setTranslation(nowhere); }, "its transform"},
      {[&](auto*, auto* place, auto*) { place->setRotation(nowhere); }, "its transform"},
      {[&](auto* data, auto*, auto*) { data->setAngleUnits(no_unit); }, "its transform"},
      {[&](auto*, auto*, auto* set) { set->setCoordinates(points); }, "a point"},
      {[](auto*, auto*, auto* set) {
         auto flex = std::make_unique<BaMDFlexVEffects>();
         flex->setWeights({{kNan, 1}});
         set->addEffects(std::move(flex));
       },
       "an effect"},
      {[](auto*, auto*, auto* set) {
         auto blend = std::make_unique<BaMDBlendVEffects>();
         blend->setVectors({{{0, 0, kNan}, 1}});
         set->addEffects(std::move(blend));
       },
       "an effect"},
  };
  for (const auto& [change, what] : cases) {
    BuiltScene built(
        kHeader + BodyAt(1, "a", 0) + BodyAt(2, "b", 1) + kMaterial + Square(1, 0) + Square(2, 0),
        kEmptyDof);
    BaModelData* data = &built.model_data;
    BaMDCoordSys place = data->bodyByName("b")->coordSys();
    change(data, &place, *data->vertexSets().begin());
    data->bodyByName("b")->setCoordSys(place);
    KFbxSdkManager* manager = built.manager.get();
    KFbxScene* scene = KFbxScene::Create(manager, "");
    EXPECT_FALSE(CreateScene(manager, scene, *data, "m.mdl", built.mapping, 1.0F, false));
    EXPECT_NE(TakePrinted().find(std::string(what) + " is not finite."), std::string::npos) << what;
  }
}

// The 7.1 file of a scene; empty where it cannot be made.
std::string FileOf(const BaModelData& data, const BaUnlockedMapping& mapping, bool mesh_per_body,
                   UsedUp used_up) {
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> manager(KFbxSdkManager::Create(),
                                                                           DestroySdk);
  KFbxScene* scene = KFbxScene::Create(manager.get(), "");
  std::string bytes;
  if (CreateScene(manager.get(), scene, data, "m.mdl", mapping, 1.0F, mesh_per_body, used_up)) {
    const WriterChoice writer = FindMotionBuilderWriter(manager.get(), "2011", false);
    SaveSceneInMemory(manager.get(), scene, false, true, writer.version, &bytes);
  }
  return bytes;
}

// Two chains, in the first of which bodies meet and one follows the other.
TEST(Scene, IsTheSameWhenItUsesUpWhatItIsMadeOf) {
  const BuiltScene built(kHeader + Body(1, "a", 0, "0 0 0") + Body(2, "b", 1, "1 0 0") +
                             Body(3, "c", 0, "0 5 0") + kMaterial + Square(1, 0) + Square(2, 0) +
                             Square(3, 0) + "F 2 1 3  0 0 0 2 0.5 -1  1 0 0 -1  0 1 0 -1\n",
                         DofWithOrder("1 2 3 6 5 4"));
  for (const bool is_smooth : {true, false}) {
    for (const bool mesh_per_body : {true, false}) {
      BaModelData data;
      ASSERT_TRUE(data.fillFrom(built.model, true));
      data.setCombineVertexNormals(is_smooth);
      BaUnlockedMapping mapping = built.mapping;
      const std::string kept = FileOf(data, mapping, mesh_per_body, {});
      EXPECT_FALSE(kept.empty() || data.geometriesOf("b").empty() || mapping.bodyMaps().empty());
      EXPECT_TRUE(FileOf(data, mapping, mesh_per_body, {&data, &mapping}) == kept);
      EXPECT_TRUE(mapping.bodyMaps().empty() && data.geometriesOf("b").empty());
      EXPECT_EQ(data.vertexSets().count() + data.geometries().count(), 0);
      EXPECT_EQ(data.bodies().count(), 3);
    }
  }
}

TEST(Scene, BindsFlexedVertices) {
  // Weights: toward the parent (effect 2) and toward a named body (effect 3), which may be the
  // parent as well; a sum above 1.
  const BuiltScene built(
      kHeader + Body(1, "a", 0, "0 0 0") + Body(2, "b", 1, "1 0 0") + Body(3, "c", 2, "1 0 0") +
          kMaterial +
          "F 2 1 3  0 0 0 2 0.5 3 -0.25 1 -1  1 0 0 3 0.5 3 3 0.25 2 -1  0 1 0 2 1.5 3 0.5 3 -1\n",
      kEmptyDof);
  const KFbxMesh& mesh = built.mesh("a_mesh");
  ASSERT_EQ(mesh.GetDeformerCount(), 1);
  auto* skin = dynamic_cast<KFbxSkin*>(mesh.GetDeformer(0));
  ASSERT_NE(skin, nullptr);
  std::map<std::string, std::array<double, 3>> weights;  // of the points, by body
  for (int i = 0; i < skin->GetClusterCount(); ++i) {
    const KFbxCluster& cluster = *skin->GetCluster(i);
    for (std::size_t k = 0; k < cluster.GetControlPointIndices().size(); ++k) {
      const auto point = static_cast<std::size_t>(cluster.GetControlPointIndices()[k]);
      weights[cluster.GetLink()->GetName()].at(point) += cluster.GetControlPointWeights()[k];
    }
  }
  const std::map<std::string, std::array<double, 3>> expected = {
      {"a", {0.25, 0, 0.75}}, {"b", {0.75, 0.5, 0}}, {"c", {0, 0.5, 0.25}}};
  for (const auto& [body, of_points] : expected) {
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(weights[body][i], of_points[i], 1e-6) << body;
  }
}

}  // namespace
