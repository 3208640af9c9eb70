// What the scene of a model holds: nodes, their places and orders, meshes, normals, bind pose.
#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "builtscene.h"
#include "kfbxdeformer.h"
#include "kfbxdocumentinfo.h"
#include "kfbxpose.h"
#include "kfbxskeleton.h"
#include "kfbxsurfacephong.h"

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

void ExpectNear(const KFbxVector4& actual, double x, double y, double z, double tolerance = 1e-5) {
  EXPECT_NEAR(actual[0], x, tolerance);
  EXPECT_NEAR(actual[1], y, tolerance);
  EXPECT_NEAR(actual[2], z, tolerance);
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
  ExpectNear(built.node("hip_bone")->LclTranslation.Get(), 2, 4, 6);
  ExpectNear(built.node("knee")->GetPreRotation(KFbxNode::eSOURCE_SET), 0, 0, 90);
  ExpectNear(built.node("knee")->LclRotation.Get(), 0, 0, 0);
  EXPECT_TRUE(built.node("knee")->GetRotationActive());
  EXPECT_EQ(built.node("knee")->GetParent(), built.node("hip_bone"));
  EXPECT_EQ(built.node("hip_bone")->GetParent(), built.scene->GetRootNode());
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

TEST(Scene, ReadsRotationOrdersBackwards) {
  const struct {
    const char* order;
    EFbxRotationOrder expected;
  } cases[] = {
      {"1 2 3 6 5 4", eEULER_XYZ}, {"6 5 4 3 2 1", eEULER_XYZ}, {"5 6 4 1 2 3", eEULER_XZY},
      {"4 1 6 2 5 3", eEULER_YZX}, {"6 4 5 1 2 3", eEULER_YXZ}, {"5 4 6 1 2 3", eEULER_ZXY},
      {"4 5 6 1 2 3", eEULER_ZYX},
  };
  for (const auto& c : cases) {
    const BuiltScene built(kHeader + Body(1, "a", 0, "0 0 0") + Body(2, "b", 1, "0 0 0"),
                           DofWithOrder(c.order));
    EXPECT_EQ(built.node("a")->GetRotationOrder(KFbxNode::eSOURCE_SET), c.expected) << c.order;
    EXPECT_EQ(built.node("b")->GetRotationOrder(KFbxNode::eSOURCE_SET), eEULER_XYZ);
  }
}

TEST(SceneDeathTest, StopsOnMapsThatDoNotRotateAboutEachAxis) {
  for (const char* order : {"4 4 6 1 2 3", "1 2 3 1 2 3", "4 5 1 2 3 3", "4 5 6 4 5 6"}) {
    EXPECT_DEATH(BuiltScene(kHeader + Body(1, "a", 0, "0 0 0"), DofWithOrder(order)),
                 "order_str==\"ZYX\"")
        << order;
  }
}

TEST(Scene, ChoosesTheBodiesThatGetMeshes) {
  // top <- empty <- leaf, top <- side; a second chain without polygons.
  const std::string model = kHeader + Body(1, "top", 0, "0 0 0") + Body(2, "empty", 1, "0 0 0") +
                            Body(3, "leaf", 2, "0 0 0") + Body(4, "side", 1, "0 0 0") +
                            Body(5, "other", 0, "0 0 0") + kMaterial + Square(3, 0) + Square(4, 5);
  const BuiltScene chain(model, kEmptyDof, false);
  EXPECT_EQ(MeshNodes(chain.scene->GetRootNode()), std::vector<std::string>{"top_mesh"});
  EXPECT_EQ(chain.node("top_mesh")->GetParent(), chain.node("top"));
  EXPECT_EQ(chain.mesh("top_mesh").GetPolygonCount(), 2);
  const BuiltScene bodies(model, kEmptyDof, true);
  EXPECT_EQ(MeshNodes(bodies.scene->GetRootNode()),
            (std::vector<std::string>{"leaf_mesh", "side_mesh"}));
  EXPECT_EQ(bodies.node("leaf_mesh")->GetParent(), bodies.node("leaf"));
}

TEST(Scene, MovesTheGeometryOfAChainIntoItsTopsSpace) {
  const BuiltScene built(kHeader + Body(1, "top", 0, "100 0 0", kQuarterZ) +
                             Body(2, "turned", 1, "10 0 0", kQuarterZ) + kMaterial + Square(2, 0),
                         kEmptyDof, false, 3.0F);
  const std::vector<double>& points = built.mesh("top_mesh").GetControlPoints();
  const double expected[] = {30, 0, 0, 30, 3, 0, 27, 3, 0, 27, 0, 0};
  ASSERT_EQ(points.size(), 12U);
  for (std::size_t i = 0; i < 12; ++i) EXPECT_NEAR(points[i], expected[i], 1e-4) << i;
  EXPECT_EQ(built.mesh("top_mesh").GetPolygonVertices(), (std::vector<std::int32_t>{0, 1, 2, -4}));
}

TEST(Scene, SharesNormalsWhereBodiesMeet) {
  // Two squares that meet at a right angle along an edge, each on a body of its own.
  const std::string model = kHeader + Body(1, "flat", 0, "0 0 0") +
                            Body(2, "wall", 1, "1 0 0", "0 0 -1  0 1 0  1 0 0 ") + kMaterial +
                            Square(1, 0) + Square(2, 0);
  const double r = std::sqrt(0.5);
  const BuiltScene chain(model, kEmptyDof, false);
  const std::vector<double>& n = chain.mesh("flat_mesh").GetNormals();
  ASSERT_EQ(n.size(), 24U);
  ExpectNear({n[0], n[1], n[2]}, 0, 0, 1);
  ExpectNear({n[3], n[4], n[5]}, r, 0, r);     // of the first square's second corner
  ExpectNear({n[12], n[13], n[14]}, r, 0, r);  // of the second square's first corner
  ExpectNear({n[15], n[16], n[17]}, 1, 0, 0);
  // As meshes of their own they shade the same, each in its own space.
  const BuiltScene bodies(model, kEmptyDof, true);
  const std::vector<double>& flat = bodies.mesh("flat_mesh").GetNormals();
  ExpectNear({flat[3], flat[4], flat[5]}, r, 0, r);
  const std::vector<double>& wall = bodies.mesh("wall_mesh").GetNormals();
  ExpectNear({wall[0], wall[1], wall[2]}, -r, 0, r);
  ExpectNear({wall[3], wall[4], wall[5]}, 0, 0, 1);
}

TEST(Scene, MakesTrianglesOfStripsAndDropsWhatIsNoFace) {
  const BuiltScene built(
      kHeader + Body(1, "a", 0, "0 0 0") + kMaterial +
          // The fourth corner is at the place of the second: the second triangle repeats a vertex.
          "T 1 1 5  0 0 0 0 -1  0 1 0 0 -1  0 0 1 0 -1  0 1 0 0 -1  0 1 1 0 -1\n"
          "t 1 1 4  0 0 0 5 0 0 -1  1 0 0 6 0 0 -1  0 1 0 5 1 0 -1  1 1 0 6 1 0 -1\n"
          "F 1 1 2  0 0 0 -1  9 0 0 -1\n",
      kEmptyDof);
  const KFbxMesh& mesh = built.mesh("a_mesh");
  ASSERT_EQ(mesh.GetPolygonCount(), 4);
  ASSERT_EQ(mesh.GetPolygonVertices().size(), 12U);
  const auto& v = mesh.GetPolygonVertices();
  const auto at = [&](std::size_t corner) {
    const std::int32_t index = v[corner] < 0 ? -v[corner] - 1 : v[corner];
    const double* p = mesh.GetControlPoints().data() + static_cast<std::ptrdiff_t>(3) * index;
    return std::vector<double>{p[0], p[1], p[2]};
  };
  using P = std::vector<double>;
  const P expected[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0},
                        {5, 0, 0}, {6, 0, 0}, {5, 1, 0}, {5, 1, 0}, {6, 0, 0}, {6, 1, 0}};
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(at(i), expected[i]) << i;
  // The untextured faces have no coordinates of their own.
  const auto& uv = mesh.GetUVIndices();
  ASSERT_EQ(uv.size(), 12U);
  EXPECT_EQ(std::vector<std::int32_t>(uv.begin() + 6, uv.end()),
            (std::vector<std::int32_t>{0, 1, 2, 2, 1, 3}));
}

TEST(Scene, MakesMaterialsTransparentByTheirAlpha) {
  const std::pair<const char*, double> cases[] = {{"1", 0}, {"0.75", 0.25}, {"0", 1}};
  for (const auto& [alpha, transparency] : cases) {
    const BuiltScene built(
        kHeader + Body(1, "a", 0, "0 0 0") + "M 1 m\n7 " + alpha + "\n0\n" + Square(1, 0),
        kEmptyDof);
    const KFbxSurfacePhong& material = *built.node("a_mesh")->GetMaterial(0);
    EXPECT_EQ(material.TransparencyFactor.Get() * material.TransparentColor.Get()[0], transparency);
  }
}

TEST(Scene, BindsFlexedVertices) {
  // Weights: toward the parent (effect 2) and toward a named body (effect 3); a sum above 1.
  const BuiltScene built(kHeader + Body(1, "a", 0, "0 0 0") + Body(2, "b", 1, "1 0 0") +
                             Body(3, "c", 2, "1 0 0") + kMaterial +
                             "F 2 1 3  0 0 0 2 0.25 -1  1 0 0 3 0.5 3 -1  0 1 0 2 1.5 3 0.5 3 -1\n",
                         kEmptyDof);
  const KFbxMesh& mesh = built.mesh("a_mesh");
  ASSERT_EQ(mesh.GetDeformerCount(), 1);
  auto* skin = dynamic_cast<KFbxSkin*>(mesh.GetDeformer(0));
  ASSERT_NE(skin, nullptr);
  double weights[3][3] = {};
  const char* const names[] = {"a", "b", "c"};
  for (int i = 0; i < skin->GetClusterCount(); ++i) {
    const KFbxCluster& cluster = *skin->GetCluster(i);
    for (int body = 0; body < 3; ++body) {
      if (cluster.GetLink() != built.node(names[body])) continue;
      for (std::size_t k = 0; k < cluster.GetControlPointIndices().size(); ++k) {
        weights[cluster.GetControlPointIndices()[k]][body] += cluster.GetControlPointWeights()[k];
      }
    }
  }
  const double expected[3][3] = {{0.25, 0.75, 0}, {0, 0.5, 0.5}, {0.75, 0, 0.25}};
  for (int point = 0; point < 3; ++point) {
    for (int body = 0; body < 3; ++body) {
      EXPECT_NEAR(weights[point][body], expected[point][body], 1e-6) << point << body;
    }
  }
}

}  // namespace
