// Whole files of both binary families, taken apart again, and scenes that make none.
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>

#include "Bt/btexcept.h"
#include "Fbx/kfbxdisplaylayer.h"
#include "Fbx/kfbxexporter.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxdialect.h"
#include "fbxfamily.h"
#include "testscene.h"

namespace {

using Names = std::vector<std::string>;
using Numbers = std::vector<double>;

std::vector<Numbers> MatricesOf(const FbxRecord& pose) {
  std::vector<Numbers> matrices;
  for (const FbxRecord* node : pose.all("PoseNode")) {
    matrices.push_back(node->child("Matrix").numbers);
  }
  return matrices;
}

TEST(FbxExport, WritesAndConnectsWhatItCounts) {
  const TestScene scene;
  const Names expected[] = {
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "GlobalSettings", "Documents",
       "References", "Definitions", "Objects", "Connections", "Takes"},
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "Document", "References",
       "Definitions", "Objects", "Connections", "Takes", "Version5"}};
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    ExpectSoundObjects(family, file);
    EXPECT_EQ(file.main.child("Objects").child("Pose").child("NbPoseNodes").integer(), 4);
    Names names;
    for (const FbxRecord& record : file.main.children) names.push_back(record.name);
    EXPECT_EQ(names, expected[family.has_ids ? 0 : 1]);
    // Where a list has no children it must be one that readers expect to be a list.
    const std::set<std::string> may_be_empty = {"References", "Properties60"};
    file.main.walk([&](const FbxRecord& record) {
      EXPECT_TRUE(!record.has_list || !record.children.empty() ||
                  may_be_empty.contains(record.name))
          << record.name;
      for (const FbxReadValue& value : record.values) {
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
    EXPECT_EQ(family.property(head, "RotationOrder"), Numbers{eEULER_YZX});
    EXPECT_EQ(family.property(head, "RotationActive"), Numbers{1});
    EXPECT_EQ(family.property(head, "InheritType"), Numbers{1});
    const FbxRecord& bone =
        family.has_ids ? family.object(file, Named("head", "NodeAttribute")) : head;
    EXPECT_EQ(family.property(bone, "Size"), Numbers{7});
    EXPECT_EQ(ExpectAgreeingTransforms(family, file), 3);
    // What turns after the skin was bound leaves the pose as it was.
    scene.spine->LclRotation.Set(KFbxVector4(10, 20, 30));
    const FbxFile turned = Exported(scene.scene, family.format);
    scene.spine->LclRotation.Set(KFbxVector4(0, 0, 0));
    EXPECT_EQ(MatricesOf(turned.main.child("Objects").child("Pose")),
              MatricesOf(file.main.child("Objects").child("Pose")));
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
    const std::vector<Numbers> matrices = MatricesOf(written);
    ASSERT_EQ(matrices.size(), 2U);
    ExpectNear(local, matrices[0]);
    ExpectNear(spine * local, matrices[1]);
  }
}

TEST(FbxExport, WritesTheMesh) {
  const TestScene scene;
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    const FbxRecord& mesh =
        family.object(file, Named("hips_mesh", family.has_ids ? "Geometry" : "Model"));
    EXPECT_EQ(mesh.child("Vertices").numbers.size(), 18U);
    EXPECT_EQ(mesh.child("PolygonVertexIndex").numbers, (Numbers{0, 1, -3, 3, 2, 5, -5}));
    EXPECT_EQ(mesh.child("LayerElementNormal").child("NormalsIndex").numbers,
              (Numbers{0, 0, 0, 1, 1, 1, 1}));
    // The quad has no coordinates of its own: its corners share one at the origin.
    const FbxRecord& uvs = mesh.child("LayerElementUV");
    EXPECT_EQ(uvs.child("UVIndex").numbers, (Numbers{0, 1, 2, 3, 3, 3, 3}));
    EXPECT_EQ(uvs.child("UV").numbers, (Numbers{0, 0, 1, 0, 1, 1, 0, 0}));
    EXPECT_EQ(mesh.child("LayerElementMaterial").child("Materials").numbers, (Numbers{0, 1}));
    Names layer;
    for (const FbxRecord* element : mesh.child("Layer").all("LayerElement")) {
      layer.push_back(element->child("Type").text());
      EXPECT_EQ(mesh.all(layer.back()).size(), 1U);
    }
    const Names elements[] = {
        {"LayerElementNormal", "LayerElementMaterial", "LayerElementSmoothing", "LayerElementUV"},
        {"LayerElementNormal", "LayerElementMaterial", "LayerElementSmoothing",
         "LayerElementTexture", "LayerElementUV"}};
    EXPECT_EQ(layer, elements[family.has_ids ? 0 : 1]);
    EXPECT_EQ(mesh.child("LayerElementSmoothing").child("Smoothing").numbers, (Numbers{0, 0}));
    if (!family.has_ids) {
      EXPECT_EQ(mesh.child("LayerElementTexture").child("TextureId").numbers, (Numbers{0, -1}));
    }
    const FbxRecord& shape =
        family.has_ids ? family.object(file, Named("frown", "Geometry")) : *mesh.all("Shape").at(1);
    EXPECT_EQ(shape.child("Indexes").numbers, (Numbers{1, 4}));
    EXPECT_EQ(shape.child("Vertices").numbers, (Numbers{0, 0.5, 0, 0.25, 0, -1}));
    EXPECT_EQ(family.has_ids ? Numbers{0} : family.property(mesh, "frown"), Numbers{0});
  }
}

// Nodes may carry one attribute, which stands in the file once.
TEST(FbxExport, WritesASharedAttributeOnce) {
  const TestScene s;
  const auto count = [&s] {
    return Exported(s.scene, kBinary71).main.child("Objects").all("NodeAttribute").size();
  };
  const std::size_t n_bones = count();
  AddNode(s.scene, "twin")->SetNodeAttribute(s.spine->GetNodeAttribute());
  EXPECT_EQ(count(), n_bones);
  EXPECT_EQ(n_bones, 3U);
}

// One material, one texture, normals of points: a value stands once where it holds for all, and
// each texture has coordinates of its own where it does not drive the colour.
TEST(FbxExport, WritesOnceWhatHoldsForTheWholeMesh) {
  const ScenePtr scene = NewScene();
  KFbxNode* node = AddNode(scene.get(), "mesh");
  KFbxMesh* mesh = KFbxMesh::Create(scene.get(), "mesh");
  node->SetNodeAttribute(mesh);
  mesh->GetControlPoints() = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
  mesh->SetPolygons({0, 1, -3, 0, 2, -4}, {0, 0});
  mesh->SetNormals(KFbxMesh::eBY_CONTROL_POINT, {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1});
  mesh->SetUVs("map1", {0.25, 0.5}, {0, 0, 0, 0, 0, 0});
  KFbxSurfacePhong* material = KFbxSurfacePhong::Create(scene.get(), "mirror");
  KFbxTexture* texture = KFbxTexture::Create(scene.get(), "sky");
  material->Connect(texture, "ReflectionColor");
  node->AddMaterial(material);
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.get(), family.format);
    const FbxRecord& geometry =
        family.object(file, Named("mesh", family.has_ids ? "Geometry" : "Model"));
    EXPECT_EQ(geometry.child("LayerElementSmoothing").child("Smoothing").numbers, (Numbers{1, 1}));
    std::vector<std::pair<const char*, const char*>> shared = {
        {"LayerElementMaterial", "Materials"}};
    if (!family.has_ids) {
      shared.emplace_back("LayerElementReflectionTextures", "TextureId");
      EXPECT_EQ(geometry.child("LayerElementReflectionUV").child("UV").numbers,
                (Numbers{0.25, 0.5}));
    }
    for (const auto& [element, list] : shared) {
      EXPECT_EQ(geometry.child(element).child("MappingInformationType").text(), "AllSame");
      EXPECT_EQ(geometry.child(element).child(list).numbers, Numbers{0}) << element;
    }
    // What readers show stands at the object: not all know the template.
    EXPECT_EQ(family.property(family.object(file, Named("mirror", "Material")), "DiffuseColor"),
              (Numbers{0.8, 0.8, 0.8}));
    EXPECT_EQ(family.property(family.object(file, Named("sky", "Texture")), "WrapModeU"),
              Numbers{0});
  }
}

TEST(FbxExport, PutsNodesOnDisplayLayers) {
  const TestScene scene;
  const std::pair<const char*, std::vector<KFbxNode*>> layers[] = {
      {"hips", {scene.hips, scene.head, scene.scene->GetRootNode()}},  // the root is no object
      {"shown", {scene.mesh_node}},
      {"empty", {}}};
  for (const auto& [name, members] : layers) {
    KFbxDisplayLayer* layer = KFbxDisplayLayer::Create(scene.scene, name);
    for (KFbxNode* node : members) EXPECT_TRUE(layer->AddMember(node));
    EXPECT_FALSE(layer->AddMember(nullptr));
    EXPECT_TRUE(scene.scene->AddDisplayLayer(layer));
  }
  EXPECT_FALSE(scene.scene->AddDisplayLayer(nullptr));
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    ExpectSoundObjects(family, file);
    EXPECT_EQ(ExpectAgreeingTransforms(family, file), 3);
    std::map<std::string, Names> members;
    for (const FbxRecord* layer : file.main.child("Objects").all("CollectionExclusive")) {
      EXPECT_EQ(family.subtype(*layer), "DisplayLayer");
      EXPECT_EQ(family.property(*layer, "Show"), Numbers{1});
      EXPECT_EQ(family.property(*layer, "Freeze"), Numbers{0});
      Names& names = members[family.name(*layer)];
      for (const FbxRecord* model : file.main.child("Objects").all("Model")) {
        const auto connections = family.connections(file);
        const auto [first, last] = connections.equal_range(family.key(*model));
        if (std::any_of(first, last, [&](const auto& c) { return c.second == family.key(*layer); }))
          names.push_back(family.name(*model));
      }
    }
    // Where names refer to objects, no bone, mesh or material has the name of a layer.
    const std::map<std::string, Names> expected = {
        {Named(family.has_ids ? "hips" : "hips_ncl1_3", "DisplayLayer"),
         {Named("hips", "Model"), Named("head", "Model")}},
        {Named("shown", "DisplayLayer"), {Named("hips_mesh", "Model")}},
        {Named("empty", "DisplayLayer"), {}}};
    EXPECT_EQ(members, expected);
  }
}

TEST(FbxExport, GivesEveryModelAValidNameOfItsOwn) {
  const struct {
    Names given, written;
    bool older_only = false;
  } cases[] = {
      {{"a", "b"}, {"a", "b"}},
      {{"a", "a", "a"}, {"a", "a_ncl1_1", "a_ncl1_2"}},
      // A name that looks like a renamed one keeps its bearer.
      {{"a", "a", "a_ncl1_1"}, {"a", "a_ncl1_2", "a_ncl1_1"}},
      {{"Hüfte", "€", "🦊"}, {"Hüfte", "€", "🦊"}},
      {{"\xFC\x62", "\xC3", "\xED\xA0\x80", "\xC0\x80"},
       {"üb", "\xC3\x83", "\xC3\xAD\xC2\xA0\xC2\x80", "\xC3\x80\xC2\x80"}},
      {{"a::b", "a:::b", "a:b"}, {"a:_b", "a:_:b", "a:b"}},
      {{"a\tb\x01\x7F", "a\nb"}, {"a_b__", "a_b"}},
      {{"a\"b", "a#b", " "}, {"a\"b", "a#b", " "}},
      {{"Scene"}, {"Scene_ncl1_1"}, true},
      {{"", ""}, {"", "_ncl1_1"}},
  };
  for (const auto& c : cases) {
    for (const Family& family : kFamilies) {
      if (c.older_only && family.has_ids) continue;
      const ScenePtr scene = NewScene();
      for (const std::string& name : c.given) AddNode(scene.get(), name.c_str());
      const FbxFile file = Exported(scene.get(), family.format);
      Names written;
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
  scene.addBlendShape("more", {"Visibility", "Color", "smile"});
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    for (const char* name :
         {"smile", "frown", "Visibility_ncl1_1", "Color_ncl1_1", "smile_ncl1_1"}) {
      if (family.has_ids) {
        EXPECT_TRUE(family.object(file, Named(name, "SubDeformer")).has_list);
      } else {
        const FbxRecord& mesh = family.object(file, Named("hips_mesh", "Model"));
        EXPECT_EQ(family.property(mesh, name), Numbers{0}) << name;
      }
    }
  }
}

TEST(FbxExport, DatesFilesByTheEnvironment) {
  const TestScene scene;
  setenv("SOURCE_DATE_EPOCH", "1709210096", 1);
  for (const Family& family : kFamilies) {
    const FbxFile dated = Exported(scene.scene, family.format);
    EXPECT_EQ(dated.main.child("CreationTime").text(), "2024-02-29 12:34:56:000");
    const auto& stamp = dated.main.child("FBXHeaderExtension").child("CreationTimeStamp");
    EXPECT_EQ(stamp.child("Year").integer(), 2024);
  }
  unsetenv("SOURCE_DATE_EPOCH");
}

// What a scene of too many nodes is refused by must be below what every node takes.
TEST(FbxExport, KnowsWhatANodeTakesAtTheLeast) {
  for (const Family& family : kFamilies) {
    std::vector<std::size_t> sizes;
    for (const int nodes : {1, 101}) {
      const ScenePtr scene = NewScene();
      for (int i = 0; i < nodes; ++i) AddNode(scene.get(), "");
      sizes.push_back(SavedBytes(scene.get(), family.format).size());
    }
    const std::size_t fewest = (family.has_ids ? kFbxFamily71 : kFbxFamily61).fewest_model_bytes;
    EXPECT_GT((sizes[1] - sizes[0]) / 100, fewest);
    EXPECT_LT((sizes[1] - sizes[0]) / 100, fewest * 3 / 2);
  }
}

TEST(KFbxExporter, EmbedsPicturesOrWarns) {
  const TestFolder folder;
  const std::string bytes = std::string("\x89PNG\0\r\n", 7) + std::string(700000, 'p');
  folder.write("good.png", bytes);
  folder.write("empty.png", "");
  const struct {
    const char* name;
    const char* warning;
    std::string content = "";
  } cases[] = {
      {"good.png", "", bytes},
      {"empty.png", ""},
      {"missing.png", "No such file or directory"},
      {"", "Is a directory"},
      {"good.png/x.png", "Not a directory"},
  };
  for (const auto& c : cases) {
    for (const int format : {kBinary71, kBinary61}) {
      const std::string path = folder.path(c.name);
      const TestScene scene(path);
      const FbxFile file = ParseFbx(SavedBytes(scene.scene, format));
      const bool embedded = *c.warning == '\0';
      const std::string warning = "Unable to embed the picture '" + path + "': " + c.warning + ".";
      EXPECT_EQ(TakeMessage(), embedded ? "" : warning.c_str());
      const FbxRecord& objects = file.main.child("Objects");
      const FbxRecord& content = objects.child("Video").child("Content");
      EXPECT_EQ(content.values.size(), embedded ? 1U : 0U);
      EXPECT_TRUE(content.values.empty() || content.text() == c.content);
      EXPECT_EQ(objects.child("Video").child("Filename").text(), path);
      EXPECT_EQ(objects.child("Texture").child("FileName").text(), path);
    }
  }
}

TEST(KFbxExporter, RefusesScenesThatContradictThemselves) {
  const std::vector<std::int32_t> one_triangle = {0, 1, -3};
  const std::vector<std::int32_t> two_materials = {0, 0};
  const std::vector<std::int32_t> no_such_material = {2};
  const std::pair<const char*, std::function<void(TestScene&)>> cases[] = {
      {"its transform is not finite",
       [](TestScene& s) { s.head->LclTranslation.Set(KFbxVector4(0, INFINITY, 0)); }},
      {"a point is not finite", [](TestScene& s) { s.mesh->GetControlPoints()[4] = NAN; }},
      {"a point is cut off", [](TestScene& s) { s.mesh->GetControlPoints().push_back(1); }},
      {"a corner names a point that is not there",
       [](TestScene& s) { s.mesh->GetControlPoints().resize(15); }},
      {"its last polygon has no end",
       [](TestScene& s) { s.mesh->SetPolygons(std::vector<std::int32_t>(3), {0}); }},
      {"its polygons and their materials differ in number",
       [&](TestScene& s) { s.mesh->SetPolygons(one_triangle, two_materials); }},
      {"a polygon names a material that is not there",
       [&](TestScene& s) { s.mesh->SetPolygons(one_triangle, no_such_material); }},
      {"its corners and their texture coordinates differ in number",
       [&](TestScene& s) { s.mesh->SetPolygons(one_triangle, {0}); }},
      {"a corner names a texture coordinate that is not there",
       [](TestScene& s) { s.mesh->SetUVs("map1", std::vector(2, 0.0F)); }},
      {"its normals are not one for each place",
       [](TestScene& s) { s.mesh->SetNormals(KFbxMesh::eBY_CONTROL_POINT, std::vector(3, 1.0)); }},
      {"its skin names a bone outside of the scene",
       [](TestScene& s) { KFbxNode::Create(s.scene, "other")->AddChild(s.head); }},
  };
  for (const auto& [reason, spoil] : cases) {
    for (const int format : {kBinary71, kBinary61}) {
      TestScene scene;
      EXPECT_NE(SavedBytes(scene.scene, format), "");  // of which nothing must be left
      (void)TakeMessage();
      spoil(scene);
      EXPECT_EQ(SavedBytes(scene.scene, format), "");
      const std::string error(TakeMessage());
      EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
  }
}

TEST(KFbxExporter, TellsWhatItCannotDo) {
  const ScenePtr scene = NewScene();
  const struct {
    const char* file;
    int format;
    const char* version;
    const char* error;
  } cases[] = {
      {"a.fbx", kBinary71, "FBX201100", ""},
      {"a.fbx", kBinary61, "FBX200900", ""},
      {"a.fbx", kAscii71, "FBX201100", ""},
      {"a.fbx", kBinary71, "FBX200900",
       "The format \"FBX binary (*.fbx)\" has no version \"FBX200900\"."},
      {"a.fbx", kBinary71, "", "The format \"FBX binary (*.fbx)\" has no version \"\"."},
      {"", kBinary71, nullptr, "No file name is given."},
      {"a.fbx", -1, nullptr, "There is no file format -1."},
      {"a.fbx", 99, nullptr, "There is no file format 99."},
      {"a.fbx", 2, nullptr, "Files of the format \"FBX encrypted (*.fbx)\" cannot be written."},
      {"a.fbx", 7, nullptr, "Files of the format \"Alias OBJ (*.obj)\" cannot be written."},
  };
  for (const auto& c : cases) {
    KFbxExporter* exporter = KFbxExporter::Create(scene.get(), "");
    const bool good = exporter->Initialize(c.file, c.format) &&
                      exporter->SetFileExportVersion(c.version, KFbxExporter::eFBX_TO_FBX);
    EXPECT_EQ(good, *c.error == '\0');
    EXPECT_STREQ(exporter->GetLastErrorString(), c.error);
    exporter->Destroy();
  }
  KFbxExporter* exporter = KFbxExporter::Create(scene.get(), "");
  EXPECT_FALSE(exporter->SetFileExportVersion("FBX201100"));
  EXPECT_FALSE(exporter->Export(scene.get()));
  EXPECT_EQ(TakeMessage(), BtStr(exporter->GetLastErrorString()));
}

}  // namespace
