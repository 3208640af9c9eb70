// Whole files of both binary families, taken apart again.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fbxrecords.h"
#include "kfbxnode.h"
#include "testscene.h"

namespace {

// A name as the file has it.
std::string Named(const std::string& name, const std::string& type) {
  return name + std::string("\0\1", 2) + type;
}

// Both families, with how they differ for a reader.
struct Family {
  int format;
  bool has_ids;

  // What refers to an object, in connections and poses.
  [[nodiscard]] std::string key(const FbxValue& value) const {
    return has_ids ? std::to_string(value.integer) : value.bytes;
  }
  [[nodiscard]] std::string root() const { return has_ids ? "0" : Named("Scene", "Model"); }
  [[nodiscard]] std::string name(const FbxRecord& object) const {
    return object.text(has_ids ? 1 : 0);
  }
  [[nodiscard]] std::string subtype(const FbxRecord& object) const {
    return object.text(has_ids ? 2 : 1);
  }
  // The numbers of an object's property; empty where it is left out.
  [[nodiscard]] std::vector<double> property(const FbxRecord& object,
                                             const std::string& wanted) const {
    const FbxRecord& list = object.child(has_ids ? "Properties70" : "Properties60");
    for (const FbxRecord& row : list.children) {
      if (row.text(0) == wanted) return row.numbers();
    }
    return {};
  }
  [[nodiscard]] const FbxRecord& object(const FbxFile& file, const std::string& wanted) const {
    for (const FbxRecord& record : file.main.child("Objects").children) {
      if (record.name != "GlobalSettings" && name(record) == wanted) return record;
    }
    ADD_FAILURE() << "no object " << wanted;
    return file.main;
  }
  // Connections as child > parent, by key.
  [[nodiscard]] std::multimap<std::string, std::string> connections(const FbxFile& file) const {
    std::multimap<std::string, std::string> pairs;
    for (const FbxRecord& record : file.main.child("Connections").children) {
      pairs.emplace(key(record.values.at(1)), key(record.values.at(2)));
    }
    return pairs;
  }
};

constexpr Family kFamilies[] = {{kBinary71, true}, {kBinary61, false}};

TEST(FbxExport, WritesTheSectionsInTheirOrder) {
  const TestScene scene;
  const std::vector<std::string> expected[] = {
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "GlobalSettings", "Documents",
       "References", "Definitions", "Objects", "Connections", "Takes"},
      {"FBXHeaderExtension", "FileId", "CreationTime", "Creator", "Document", "References",
       "Definitions", "Objects", "Connections", "Takes", "Version5"}};
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    TakeMessage();  // the picture is missing
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

TEST(FbxExport, CountsAndConnectsWhatItHolds) {
  const TestScene scene;
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    TakeMessage();
    std::map<std::string, std::int64_t> counts;
    std::set<std::string> keys = {family.root()};
    for (const FbxRecord& object : file.main.child("Objects").children) {
      ++counts[object.name];
      if (object.name == "GlobalSettings" || object.name == "SceneInfo") continue;
      EXPECT_TRUE(keys.insert(family.key(object.values.at(0))).second) << family.name(object);
    }
    if (family.has_ids) counts["GlobalSettings"] = 1;
    const FbxRecord& definitions = file.main.child("Definitions");
    std::map<std::string, std::int64_t> defined;
    std::int64_t sum = 0;
    for (const FbxRecord* type : definitions.all("ObjectType")) {
      sum += defined[type->text()] = type->child("Count").integer();
    }
    EXPECT_EQ(defined, counts);
    EXPECT_EQ(definitions.child("Count").integer(), sum);

    std::set<std::string> connected = {family.root()};
    for (const auto& [child, parent] : family.connections(file)) {
      EXPECT_TRUE(keys.contains(child) && keys.contains(parent)) << child << " > " << parent;
      connected.insert(child);
    }
    for (const FbxRecord* pose : file.main.child("Objects").all("Pose")) {
      EXPECT_EQ(pose->child("NbPoseNodes").integer(), 4);
      for (const FbxRecord* node : pose->all("PoseNode")) {
        EXPECT_TRUE(keys.contains(family.key(node->child("Node").values.at(0))));
      }
      connected.insert(family.key(pose->values.at(0)));
    }
    EXPECT_EQ(connected, keys);  // nothing lies about
  }
}

// Global matrices from the properties of the file's models alone, by key.
std::map<std::string, KFbxXMatrix> GlobalsFromProperties(const Family& family,
                                                         const FbxFile& file) {
  const auto connections = family.connections(file);
  std::map<std::string, KFbxXMatrix> globals = {{family.root(), KFbxXMatrix()}};
  for (const FbxRecord* model : file.main.child("Objects").all("Model")) {
    const auto vector = [&](const char* name) {
      const auto n = family.property(*model, name);
      return n.empty() ? KFbxVector4(0, 0, 0) : KFbxVector4(n[0], n[1], n[2]);
    };
    const auto order = family.property(*model, "RotationOrder");
    const KFbxXMatrix local =
        KFbxXMatrix::Translation(vector("Lcl Translation")) *
        KFbxXMatrix::Rotation(vector("PreRotation")) *
        KFbxXMatrix::Rotation(vector("Lcl Rotation"),
                              static_cast<EFbxRotationOrder>(order.empty() ? 0 : order[0]));
    const std::string key = family.key(model->values.at(0));
    const auto [first, last] = connections.equal_range(key);
    const auto parent =
        std::find_if(first, last, [&](const auto& pair) { return globals.contains(pair.second); });
    globals.emplace(key, globals.at(parent->second) * local);
  }
  return globals;
}

void ExpectNear(const KFbxXMatrix& a, const std::vector<double>& b) {
  ASSERT_EQ(b.size(), 16U);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(a.Values()[i], b[i], 1e-9) << i;
}

KFbxXMatrix MatrixOf(const std::vector<double>& values) {
  KFbxXMatrix matrix;
  for (int i = 0; i < 16; ++i) matrix.Set(i / 4, i % 4, values.at(static_cast<std::size_t>(i)));
  return matrix;
}

TEST(FbxExport, PosesAndSkinsAgreeWithTheModels) {
  const TestScene scene;
  scene.spine->LclRotation.Set(KFbxVector4(10, 20, 30));  // after the skin was bound
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    TakeMessage();
    EXPECT_EQ(family.property(family.object(file, Named("head", "Model")), "RotationOrder"),
              std::vector<double>{eEULER_YZX});
    EXPECT_EQ(family.property(family.object(file, Named("head", "Model")), "RotationActive"),
              std::vector<double>{1});
    scene.spine->LclRotation.Set(KFbxVector4(0, 0, 0));
    const FbxFile at_rest = Exported(scene.scene, family.format);
    TakeMessage();
    const auto globals = GlobalsFromProperties(family, at_rest);
    for (const FbxRecord* node : file.main.child("Objects").child("Pose").all("PoseNode")) {
      const auto key = family.key(node->child("Node").values.at(0));
      ExpectNear(globals.at(key), node->child("Matrix").numbers());
    }
    const auto mesh_global =
        globals.at(family.key(family.object(file, Named("hips_mesh", "Model")).values.at(0)));
    int clusters = 0;
    for (const FbxRecord* deformer : file.main.child("Objects").all("Deformer")) {
      if (family.subtype(*deformer) != "Cluster") continue;
      const KFbxXMatrix link = MatrixOf(deformer->child("TransformLink").numbers());
      const KFbxXMatrix transform = MatrixOf(deformer->child("Transform").numbers());
      const auto product = (link * transform).Values();
      ExpectNear(mesh_global, {product.begin(), product.end()});
      const double first = 2 * clusters++;
      EXPECT_EQ(deformer->child("Indexes").numbers(), (std::vector<double>{first, first + 1}));
      EXPECT_EQ(deformer->child("Weights").numbers(), (std::vector<double>{1, 1}));
    }
    EXPECT_EQ(clusters, 3);
    scene.spine->LclRotation.Set(KFbxVector4(10, 20, 30));
  }
}

TEST(FbxExport, WritesTheMesh) {
  const TestScene scene;
  for (const Family& family : kFamilies) {
    const FbxFile file = Exported(scene.scene, family.format);
    TakeMessage();
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
  const struct {
    const char* name;
    double type;
  } cases[] = {{"top", 0}, {"middle", 1}, {"below", 1}};
  for (const auto& c : cases) {
    const FbxRecord& model = kFamilies[1].object(file, Named(c.name, "Model"));
    EXPECT_EQ(kFamilies[1].property(model, "InheritType"), std::vector<double>{c.type});
    EXPECT_EQ(kFamilies[1].subtype(model), "Null");
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
      {{"H\xC3\xBC"
        "fte",
        "\xE2\x82\xAC", "\xF0\x9F\xA6\x8A"},
       {"H\xC3\xBC"
        "fte",
        "\xE2\x82\xAC", "\xF0\x9F\xA6\x8A"},
       false},
      {{"H\xFC"
        "fte",
        "\xC3", "\xED\xA0\x80", "\xC0\x80"},
       {"H\xC3\xBC"
        "fte",
        "\xC3\x83", "\xC3\xAD\xC2\xA0\xC2\x80", "\xC3\x80\xC2\x80"},
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

TEST(FbxExport, MakesTheSameBytesFromTheSameScene) {
  const TestFolder folder;
  for (const Family& family : kFamilies) {
    const std::string target = folder.path("a.fbx");
    std::vector<std::string> files;
    for (const char* epoch : {"", "", "1709210096"}) {
      setenv("SOURCE_DATE_EPOCH", epoch, 1);
      const TestScene scene;
      EXPECT_TRUE(Save(scene.scene, target, family.format));
      files.push_back(ReadFile(target));
      TakeMessage();
    }
    unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_TRUE(files[0] == files[1]);
    const FbxFile dated = ParseFbx(files[2]);
    EXPECT_EQ(dated.fault, "");
    EXPECT_EQ(dated.main.child("CreationTime").text(), "2024-02-29 12:34:56:000");
    const auto& stamp = dated.main.child("FBXHeaderExtension").child("CreationTimeStamp");
    EXPECT_EQ(stamp.child("Year").integer(), 2024);
  }
}

}  // namespace
