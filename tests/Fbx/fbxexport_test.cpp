// Whole files of both binary families, taken apart again.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "btexcept.h"
#include "fbxdocument.h"
#include "fbxfamily.h"
#include "kfbxdeformer.h"
#include "kfbxexporter.h"
#include "kfbxmesh.h"
#include "kfbxnode.h"
#include "kfbxpose.h"
#include "testscene.h"

namespace {

TEST(FbxExport, WritesAndConnectsWhatItCounts) {
  const TestScene scene;
  const std::vector<std::string> expected[] = {
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "GlobalSettings", "Documents",
       "References", "Definitions", "Objects", "Connections", "Takes"},
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "Document", "References",
       "Definitions", "Objects", "Connections", "Takes", "Version5"}};
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    ExpectSoundObjects(family, file);
    EXPECT_EQ(file.main.child("Objects").child("Pose").child("NbPoseNodes").integer(), 4);
    std::vector<std::string> names;
    for (const FbxRecord& record : file.main.children) names.push_back(record.name);
    EXPECT_EQ(names, expected[family.has_ids ? 0 : 1]);
    // Where a list has no children it must be one that readers expect to be a list.
    const std::set<std::string> may_be_empty = {"References", "Properties60"};
    file.main.walk([&](const FbxRecord& record) {
      if (record.has_list && record.children.empty()) {
        EXPECT_TRUE(may_be_empty.contains(record.name)) << record.name;
      }
      for (const FbxValue& value : record.values) {
        EXPECT_TRUE(family.has_ids || std::islower(value.code) == 0) << record.name;
      }
    });
  }
}

TEST(FbxExport, PosesAndSkinsAgreeWithTheModels) {
  const TestScene scene;
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    const FbxRecord& head = family.object(file, Named("head", "Model"));
    EXPECT_EQ(family.property(head, "RotationOrder"), std::vector<double>{eEULER_YZX});
    EXPECT_EQ(family.property(head, "RotationActive"), std::vector<double>{1});
    EXPECT_EQ(ExpectAgreeingTransforms(family, file), 3);
    // What turns after the skin was bound leaves the pose as it was.
    scene.spine->LclRotation.Set(KFbxVector4(10, 20, 30));
    const FbxFile turned = Exported(scene.scene, family.format);
    scene.spine->LclRotation.Set(KFbxVector4(0, 0, 0));
    const auto nodes = file.main.child("Objects").child("Pose").all("PoseNode");
    const auto turned_nodes = turned.main.child("Objects").child("Pose").all("PoseNode");
    ASSERT_EQ(turned_nodes.size(), nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      EXPECT_EQ(turned_nodes[i]->child("Matrix").numbers(), nodes[i]->child("Matrix").numbers());
    }
  }
}

// Files have global matrices only: one that a pose holds relative to the parent is multiplied out.
TEST(FbxExport, WritesLocalPosesAsGlobalOnes) {
  const TestScene scene;
  KFbxPose* pose = KFbxPose::Create(scene.scene, "rest");
  const KFbxXMatrix local = KFbxXMatrix::Translation({1, 2, 3}) * KFbxXMatrix::Rotation({40, 5, 6});
  pose->Add(scene.hips, local, true);
  pose->Add(scene.head, local, true);
  scene.scene->AddPose(pose);
  const KFbxXMatrix spine = scene.scene->GetEvaluator()->GetNodeGlobalTransform(scene.spine);
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    const FbxRecord& written = family.object(file, Named("rest", "Pose"));
    EXPECT_EQ(written.child("Type").text(), "RestPose");
    const auto nodes = written.all("PoseNode");
    ASSERT_EQ(nodes.size(), 2U);
    ExpectNear(local, nodes[0]->child("Matrix").numbers());
    ExpectNear(spine * local, nodes[1]->child("Matrix").numbers());
  }
}

TEST(FbxExport, WritesTheMesh) {
  const TestScene scene;
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    const FbxRecord& mesh =
        family.object(file, Named("hips_mesh", family.has_ids ? "Geometry" : "Model"));
    using Numbers = std::vector<double>;
    EXPECT_EQ(mesh.child("Vertices").numbers().size(), 18U);
    EXPECT_EQ(mesh.child("PolygonVertexIndex").numbers(), (Numbers{0, 1, -3, 3, 2, 5, -5}));
    EXPECT_EQ(mesh.child("LayerElementNormal").child("NormalsIndex").numbers(),
              (Numbers{0, 0, 0, 1, 1, 1, 1}));
    // The quad has no coordinates of its own: its corners share one at the origin.
    const FbxRecord& uvs = mesh.child("LayerElementUV");
    EXPECT_EQ(uvs.child("UVIndex").numbers(), (Numbers{0, 1, 2, 3, 3, 3, 3}));
    EXPECT_EQ(uvs.child("UV").numbers(), (Numbers{0, 0, 1, 0, 1, 1, 0, 0}));
    EXPECT_EQ(mesh.child("LayerElementMaterial").child("Materials").numbers(), (Numbers{0, 1}));
    std::vector<std::string> layer;
    for (const FbxRecord* element : mesh.child("Layer").all("LayerElement")) {
      layer.push_back(element->child("Type").text());
      EXPECT_EQ(mesh.all(layer.back()).size(), 1U);
    }
    EXPECT_EQ(layer.size(), family.has_ids ? 3U : 4U);
    if (!family.has_ids) {
      EXPECT_EQ(mesh.child("LayerElementTexture").child("TextureId").numbers(), (Numbers{0, -1}));
    }
    const FbxRecord& shape =
        family.has_ids ? family.object(file, Named("frown", "Geometry")) : *mesh.all("Shape").at(1);
    EXPECT_EQ(shape.child("Indexes").numbers(), (Numbers{1, 4}));
    EXPECT_EQ(shape.child("Vertices").numbers(), (Numbers{0, 0.5, 0, 0.25, 0, -1}));
    EXPECT_EQ(family.has_ids ? Numbers{0} : family.property(mesh, "frown"), Numbers{0});
  }
}

TEST(FbxExport, WritesInheritanceOfScaleWhereItMatters) {
  const ManagerPtr manager = NewManager();
  KFbxScene* scene = KFbxScene::Create(manager.get(), "");
  KFbxNode* top = AddNode(scene, "top", scene->GetRootNode());
  top->LclScaling.Set(KFbxVector4(2, 1, 1));
  AddNode(scene, "below", AddNode(scene, "middle", top));
  const FbxFile file = Exported(scene, kBinary61);
  const Family& family = kFamilies[1];
  for (const auto& [name, type] : {std::pair{"top", 0.0}, {"middle", 1.0}, {"below", 1.0}}) {
    const FbxRecord& model = family.object(file, Named(name, "Model"));
    EXPECT_EQ(family.property(model, "InheritType"), std::vector<double>{type});
    EXPECT_EQ(family.subtype(model), "Null");
  }
}

TEST(FbxExport, GivesEveryModelAValidNameOfItsOwn) {
  const struct {
    std::vector<std::string> given;
    std::vector<std::string> written;
    bool older_only;
  } cases[] = {
      {{"a", "b"}, {"a", "b"}, false},
      {{"a", "a", "a"}, {"a", "a_ncl1_1", "a_ncl1_2"}, false},
      // A name that looks like a renamed one keeps its bearer.
      {{"a", "a", "a_ncl1_1"}, {"a", "a_ncl1_2", "a_ncl1_1"}, false},
      {{"Hüfte", "€", "🦊"}, {"Hüfte", "€", "🦊"}, false},
      {{"\xFC\x62", "\xC3", "\xED\xA0\x80", "\xC0\x80"},
       {"üb", "\xC3\x83", "\xC3\xAD\xC2\xA0\xC2\x80", "\xC3\x80\xC2\x80"},
       false},
      {{"a::b", "a:::b", "a:b"}, {"a:_b", "a:_:b", "a:b"}, false},
      {{"a\tb\x01\x7F", "a\nb"}, {"a_b__", "a_b"}, false},
      {{"a\"b", "a#b", " "}, {"a\"b", "a#b", " "}, false},
      {{"Scene"}, {"Scene_ncl1_1"}, true},
      {{"", ""}, {"", "_ncl1_1"}, false},
  };
  for (const auto& c : cases) {
    for (const Family& family : kFamilies) {
      if (c.older_only && family.has_ids) continue;
      const ManagerPtr manager = NewManager();
      KFbxScene* scene = KFbxScene::Create(manager.get(), "");
      for (const std::string& name : c.given) AddNode(scene, name.c_str(), scene->GetRootNode());
      const FbxFile file = Exported(scene, family.format);
      std::vector<std::string> written;
      for (const FbxRecord* model : file.main.child("Objects").all("Model")) {
        const std::string name = family.name(*model);
        written.push_back(name.substr(0, name.size() - Named("", "Model").size()));
      }
      EXPECT_EQ(written, c.written);
    }
  }
}

TEST(FbxExport, TellsNodesAttributesAndMaterialsApartByName) {
  const TestScene scene;
  const Family& family = kFamilies[1];
  const FbxFile file = Exported(scene.scene, family.format);
  TakeMessage();
  EXPECT_EQ(family.object(file, Named("hips", "Model")).child("NodeAttributeName").text(),
            Named("hips_ncl1_1", "NodeAttribute"));
  EXPECT_TRUE(family.object(file, Named("hips_ncl1_2", "Material")).has_list);
  EXPECT_TRUE(family.object(file, Named("Cluster head", "SubDeformer")).has_list);
  EXPECT_TRUE(family.object(file, Named("Skin hips_mesh", "Deformer")).has_list);
  // The second section repeats what is shown before a file is opened.
  const FbxRecord& summary = file.extension.child("Summary");
  EXPECT_EQ(summary.child("ContentCount").child("Model").integer(), 4);
  EXPECT_EQ(summary.child("ContentCount").child("Version").text(), "100");
  EXPECT_EQ(summary.child("SceneInfo").child("MetaData").child("Author").text(), "An author");
  EXPECT_EQ(file.extension.child("FileId").text(), file.main.child("FileId").text());
}

// The percentage of a slider is a property by its name.
TEST(FbxExport, TellsSlidersAndPropertiesApartByName) {
  const TestScene scene;
  KFbxBlendShape* blend_shape = KFbxBlendShape::Create(scene.scene, "more");
  for (const char* name : {"Visibility", "Color", "smile"}) {
    KFbxBlendShapeChannel* channel = KFbxBlendShapeChannel::Create(scene.scene, name);
    channel->AddTargetShape(KFbxShape::Create(scene.scene, name));
    blend_shape->AddBlendShapeChannel(channel);
  }
  scene.mesh->AddDeformer(blend_shape);
  const char* const written[] = {"smile", "frown", "Visibility_ncl1_1", "Color_ncl1_1",
                                 "smile_ncl1_1"};
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    for (const char* name : written) {
      if (family.has_ids) {
        EXPECT_TRUE(family.object(file, Named(name, "SubDeformer")).has_list);
      } else {
        const FbxRecord& mesh = family.object(file, Named("hips_mesh", "Model"));
        EXPECT_EQ(family.property(mesh, name), std::vector<double>{0}) << name;
      }
    }
  }
}

TEST(FbxExport, MakesTheSameBytesFromTheSameScene) {
  const TestFolder folder;
  for (const Family& family : kFamilies) {
    const std::string bytes = SavedBytes(TestScene().scene, family.format);
    const TestScene scene;
    EXPECT_TRUE(SavedBytes(scene.scene, family.format) == bytes);
    EXPECT_TRUE(Save(scene.scene, folder.path("a.fbx"), family.format));
    EXPECT_TRUE(folder.read("a.fbx") == bytes);
    setenv("SOURCE_DATE_EPOCH", "1709210096", 1);
    const FbxFile dated = Exported(scene.scene, family.format);
    unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_EQ(dated.main.child("CreationTime").text(), "2024-02-29 12:34:56:000");
    const auto& stamp = dated.main.child("FBXHeaderExtension").child("CreationTimeStamp");
    EXPECT_EQ(stamp.child("Year").integer(), 2024);
  }
  theExceptObj.setCancelHook([] { return true; });
  EXPECT_EQ(SavedBytes(TestScene().scene, kBinary71), "");
  theExceptObj.setCancelHook(nullptr);
  TakeMessage();
}

// What a scene of too many nodes is refused by must be below what every node takes.
TEST(FbxExport, KnowsWhatANodeTakesAtTheLeast) {
  for (const Family& family : kFamilies) {
    std::vector<std::size_t> sizes;
    for (const int nodes : {1, 101}) {
      const ManagerPtr manager = NewManager();
      KFbxScene* scene = KFbxScene::Create(manager.get(), "");
      for (int i = 0; i < nodes; ++i) AddNode(scene, "", scene->GetRootNode());
      sizes.push_back(SavedBytes(scene, family.format).size());
    }
    const std::size_t fewest =
        family.has_ids ? FbxDocument71::kFewestModelBytes : FbxDocument61::kFewestModelBytes;
    EXPECT_GT((sizes[1] - sizes[0]) / 100, fewest);
    EXPECT_LT((sizes[1] - sizes[0]) / 100, fewest * 3 / 2);
  }
}

}  // namespace
