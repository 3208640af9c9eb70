#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>

#include "Ba/modeltexts.h"
#include "support/documenterrors.h"

namespace {

using namespace modeltexts;
namespace fs = std::filesystem;

const std::string kHeader = kDocumentHeader;

std::string MaterialSection(const std::string& name, const std::string& content = "") {
  return "MATERIAL {\nNAME: " + name + "\n" + content + "}\n";
}
// A triangle of body `body`, with effects.
std::string Shape(const std::string& body, const std::string& material,
                  const std::string& effects = "", const std::string& polygon = "1 2 3") {
  return DocumentShape(body, material, effects, "POLYGONS {\n" + polygon + "\n}\n");
}
std::string Include(const std::string& file, int offset = 0, const std::string& suffix = "") {
  return "INCLUDE {\nFILE_NAME: " + file + "\nBODY_ID_OFFSET: " + std::to_string(offset) +
         "\nBODY_NAME_SUFFIX: " + suffix + "\n}\n";
}

bool Scan(const std::string& sections, BaModelData* data) {
  std::istringstream is(sections);
  return data->scan(is, ".", true);
}

// "name id < parent id" of every body.
std::string BodyTree(const BaModel& model) {
  std::string tree;
  for (const auto& body : model.bodies()) {
    if (body == nullptr || body->id() == 0) continue;
    tree += std::string(body->name().view()) + " " + std::to_string(body->id()) + " < " +
            std::to_string(body->parentId()) + "\n";
  }
  return tree;
}

TEST(BaModelDataExtract, BodiesTakeTheirIdsOrFreeOnes) {
  BaModelData data;
  ASSERT_TRUE(Scan(DocumentBody("a", "GLOBAL") + DocumentBody("b", "a", "ID: 7\n") +
                       DocumentBody("c", "b") +
                       DocumentBody("ReferenceSystemZero", "c", "ID: 3\n") +
                       DocumentBody("d", "ReferenceSystemZero", "ID: 1\n"),
                   &data));
  BaModel model;
  ASSERT_TRUE(data.extractTo(&model)) << TakeMessages();
  EXPECT_EQ(BodyTree(model), "d 1 < 3\nReferenceSystemZero 3 < 9\nb 7 < 8\na 8 < 0\nc 9 < 7\n");
  EXPECT_EQ(BtCoordSystem(model.findBody(7)->transform()).origin(),
            (std::array<float, 3>{1, 2, 3}));
}

TEST(BaModelDataExtract, EffectsAndTexturesComeBackFromTheModel) {
  const std::string face = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nsmile\n}\n}\n";
  const std::string effects =
      "FLEX {\nBODY: b\nWEIGHTS {\n0.5 1\n0.25 1\n}\n}\nFLEX {\nBODY: a\nWEIGHTS {\n0.125 2\n}\n}\n"
      "BLEND {\nSLIDER_GROUP: face\nSLIDER_NAME: smile\nVECTORS {\n1 2 3 2\n}\n}\n";
  const std::string material = MaterialSection(
      "m",
      "AMBIENT: 0.5\nALPHA: 0.25\nTEXTURE {\nNAME: x.png\nUNIT: 2\nS_ATTRIBUTES: CLAMP\n}\n"
      "TEXTURE {\nNAME: y.png\nTYPE: 2D_ENV\n}\n");
  BaModelData data;
  ASSERT_TRUE(
      Scan("COMBINE_VERTEX_NORMALS: false\nUNITS {\nLENGTH: 2 METERS\nANGLE: 3 DEGREES\n}\n" +
               DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a", "ID: 2\n") +
               material + face + Shape("b", "m", effects),
           &data))
      << TakeMessages();
  BaModel model;
  ASSERT_TRUE(data.extractTo(&model)) << TakeMessages();
  EXPECT_EQ(model.polygons()[0]->vertices()[1].effects().first()->type(), BaFlexEffect);
  EXPECT_EQ(model.polygons()[0]->vertices()[0].effects().first()->type(), BaFlex2Effect);
  BaModelData again;
  ASSERT_TRUE(again.fillFrom(model, true)) << TakeMessages();
  EXPECT_EQ(Print(*again.materials()[0]),
            "MATERIAL {\n  NAME: m\n  EMISSION: \n  AMBIENT: 0.5 0 0\n  DIFFUSE: \n  SPECULAR: \n"
            "  SHININESS: 0\n  ALPHA: 0.25\n  TEXTURE {\n    NAME: x.png\n    UNIT: 2\n"
            "    S_ATTRIBUTES: CLAMP\n  }\n  TEXTURE {\n    NAME: y.png\n    UNIT: 0\n"
            "    TYPE: 2D_ENV\n  }\n}\n");
  EXPECT_EQ(Print(*again.sliderGroups()[0]), Print(*data.sliderGroups()[0]));
  EXPECT_EQ(
      Print(*again.vertexSets()[0]),
      "VERTICES {\n  NAME: b_vertices\n  COORDINATES {\n    0 0 0\n    1 0 0\n    1 1 0\n  }\n"
      "  EFFECTS {\n    FLEX {\n      BODY: a\n      WEIGHTS {\n        0.125 2\n      }\n"
      "    }\n    FLEX {\n      BODY: b\n      WEIGHTS {\n        0.75 1\n      }\n    }\n"
      "    BLEND {\n      SLIDER_GROUP: face\n      SLIDER_NAME: smile\n      VECTORS {\n"
      "        1 2 3 2\n      }\n    }\n  }\n}\n");
  EXPECT_FALSE(again.combineVertexNormals());
  EXPECT_EQ(again.lengthUnits(), (BaUnits{"METERS", 2}));
  EXPECT_EQ(again.angleUnits(), (BaUnits{"DEGREES", 3}));
}

TEST(BaModelDataExtract, WarnsOfRepeatedPlaces) {
#define DUPLICATE "W Duplicate vertex coordinates in polygon removed.\n"
  struct {
    const char* polygon;
    const char* messages;
  } cases[] = {
      {"1 4 2 3", DUPLICATE},
      {"1 2 3 4", DUPLICATE},
      {"1 2 4\n1 2 3", "W Degenerate polygon removed\n" DUPLICATE},
      {"1 2 3\n}\nTEXTURED_POLYGONS {\n1/1 4/1 2/1", "W Degenerate polygon removed.\n" DUPLICATE},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.polygon);
    BaModelData data;
    ASSERT_TRUE(Scan(
        DocumentBody("a", "GLOBAL") + MaterialSection("m") + Shape("a", "m", "", c.polygon), &data))
        << TakeMessages();
    BaModel model;
    EXPECT_TRUE(data.extractTo(&model));
    EXPECT_EQ(TakeMessages(), c.messages);
    EXPECT_EQ(model.polygons().size() + model.texturedPolygons().size(), 1);
  }
}

// What files cannot do, callers can.
TEST(BaModelDataExtract, BrokenDocumentsAreRefused) {
  BaModelData data;
  ASSERT_TRUE(Scan(DocumentBody("a", "GLOBAL") + MaterialSection("m") + Shape("a", "m"), &data));
  BaMDGeometry& geometry = *data.geometries()[0];
  const auto expect_error = [&data](const char* message) {
    BaModel model;
    EXPECT_FALSE(data.extractTo(&model));
    EXPECT_EQ(TakeMessages(), message);
  };
  geometry.setBodyName("b");
  expect_error("E GEOMETRY section specifies a body, \"b\", that does not exist.\n");
  geometry.setBodyName("a");
  geometry.materialGroups()[0]->polygons().push(0);
  geometry.materialGroups()[0]->polygons().endList();
  expect_error("E Invlalid vertex in GEOMETRY for body a.\n");
}

// And these end the process.
TEST(BaModelDataExtract, Assertions) {
  BaModelData data;
  auto orphan = std::make_unique<BaMDBody>();
  orphan->setName("a");
  orphan->setParentName("b");
  BaMDCoordSys coord_sys;
  coord_sys.setRotationOrder({1, 2, 3});
  orphan->setCoordSys(coord_sys);
  data.addBody(std::move(orphan));
  BaModel model;
  EXPECT_DEATH((void)data.extractTo(&model),
               "Body \"a\" specifies a parent body, \"b\", that does not(.|\n)*p_id!= -1");
  BaModelData materials;
  ASSERT_TRUE(Scan(MaterialSection("m", "TEXTURE {\nNAME: x\n}\n"), &materials));
  BaModel target;
  ASSERT_TRUE(materials.extractMaterialsTo(&target, false, false));
  EXPECT_TRUE(target.materials()[0]->textures().empty());
  ASSERT_TRUE(materials.extractMaterialsTo(&target, false, true));
  EXPECT_EQ(target.materials().count(), 1);
  EXPECT_DEATH((void)materials.extractMaterialsTo(&target, false, false),
               "model->materialByName\\(ba_mat.name\\(\\)\\)==0");
}

TEST(BaModelDataEdit, ChangesBodyNamesEverywhere) {
  BaModelData data;
  ASSERT_TRUE(Scan(DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a") +
                       MaterialSection("m") +
                       Shape("b", "m", "FLEX {\nBODY: a\nWEIGHTS {\n1 1\n}\n}\n"),
                   &data));
  BtMap<BtStr, BtStr> names;
  names["a"] = "b";
  names["b"] = "c";
  data.changeBodyNames(names);
  EXPECT_EQ(data.bodyByName("a"), nullptr);
  EXPECT_EQ(data.bodyByName("b")->id(), 1);
  EXPECT_EQ(data.childBodies("b")[0]->name(), "c");
  EXPECT_EQ(data.childBodies("GLOBAL")[0]->name(), "b");
  EXPECT_EQ(data.geometriesOf("c").size(), 1U);
  EXPECT_EQ(data.vertexSets()[0]->effects()[0]->asFlex()->bodyName(), "b");
}

TEST(BaModelDataEdit, UntextureKeepsTheVertices) {
  BaModelData data;
  ASSERT_TRUE(Scan(DocumentBody("a", "GLOBAL") + MaterialSection("m") +
                       Shape("a", "m", "",
                             "1 2 3\n}\nTEXTURED_POLYGONS {\n3/1 2/1 1/1\n}\n"
                             "TEXTURED_TRIANGLE_STRIPS {\n1/1 2/1 3/1 4/1"),
                   &data))
      << TakeMessages();
  data.geometries()[0]->untexture();
  EXPECT_EQ(Print(*data.geometries()[0]->materialGroups()[0]),
            "  MATERIAL_GROUP {\n    MATERIAL: m\n    POLYGONS {\n      1 2 3\n      3 2 1\n    }\n"
            "    TRIANGLE_STRIPS {\n      1 2 3 4\n    }\n  }\n");
}

// A folder of files, removed at the end.
class BaModelDataInclude : public testing::Test {
 protected:
  BaModelDataInclude()
      : _folder(fs::temp_directory_path() / ("include" + std::to_string(getpid()))) {
    fs::create_directories(_folder / "parts");
  }
  ~BaModelDataInclude() override { fs::remove_all(_folder); }

  void write(const std::string& name, const std::string& sections) const {
    std::ofstream(_folder / name) << kHeader << sections;
  }
  [[nodiscard]] std::string path(const std::string& name) const {
    return (_folder / name).string();
  }
  // What is recorded, without the name of the folder.
  [[nodiscard]] std::string messages() const {
    std::string text = TakeMessages();
    for (std::size_t at = 0; (at = text.find(_folder.string(), at)) != text.npos;) {
      text.replace(at, _folder.string().size(), "DIR");
    }
    return text;
  }

 private:
  fs::path _folder;
};

TEST_F(BaModelDataInclude, MergesModelsOfOtherFolders) {
  const std::string red = "DIFFUSE: 1 0 0\n";
  const std::string blue = "DIFFUSE: 0 0 1\n";
  const std::string smile = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nsmile\n}\n}\n";
  const std::string frown = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nfrown\n}\n}\n";
  const std::string blend =
      "BLEND {\nSLIDER_GROUP: face\nSLIDER_NAME: frown\nVECTORS {\n1 1 1 1\n}\n}\n";
  write("top.mdl", DocumentBody("a", "GLOBAL", "ID: 1\n") + MaterialSection("skin", red) + smile +
                       Shape("a", "skin") + Include("parts/one.mdl", 10, ".1") +
                       Include("parts/one.mdl", 20, ".2") + "COMMENT: ok\n");
  write("parts/one.mdl",
        DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a", "ID: 2\n") +
            MaterialSection("skin",
                            blue + "TEXTURE {\nNAME: x.png\n}\nTEXTURE {\nNAME: C:\\y.png\n}\n") +
            frown + Shape("b", "skin", "FLEX {\nBODY: a\nWEIGHTS {\n1 2\n}\n}\n" + blend) +
            Include("../two.mdl", 2, "_in"));
  write("two.mdl", DocumentBody("c", "GLOBAL", "ID: 1\n") + MaterialSection("skin", red) +
                       MaterialSection("map", "TEXTURE {\nNAME: y.png\n}\n"));
  BaModelData data;
  ASSERT_TRUE(data.read(path("top.mdl").c_str())) << messages();
  EXPECT_EQ(messages(), "");
  BaModel model;
  ASSERT_TRUE(data.extractTo(&model)) << messages();
  EXPECT_EQ(
      BodyTree(model),
      "a 1 < 0\na.1 11 < 0\nb.1 12 < 11\nc_in.1 13 < 0\na.2 21 < 0\nb.2 22 < 21\nc_in.2 23 < 0\n");
  std::string materials;
  for (const BaMDMaterial* material : data.materials()) {
    materials += std::string(material->name().view()) + " ";
    for (const BaMDTexture* texture : material->textures()) {
      materials += std::string(texture->name().view()) + " ";
    }
  }
  // The red skin of the innermost model is the one of the outermost.
  EXPECT_EQ(materials, "skin skin_2 parts/x.png C:\\y.png map y.png ");
  ASSERT_EQ(data.sliderGroups().count(), 2);
  EXPECT_EQ(data.sliderGroups()[1]->name(), "face_2");
  const BaMDVertices* set = data.vertexSetByName("b.2_vertices");
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->effects()[0]->asFlex()->bodyName(), "a.2");
  EXPECT_EQ(set->effects()[1]->asBlend()->sliderGroup(), "face_2");
  EXPECT_EQ(data.geometriesOf("b.2")[0]->materialGroups()[0]->material(), "skin_2");
  EXPECT_EQ(data.geometriesOf("a")[0]->materialGroups()[0]->material(), "skin");
  // The same through the model reader.
  BaModel read_model;
  read_model.read(path("top.mdl").c_str());
  EXPECT_EQ(BodyTree(read_model), BodyTree(model)) << messages();
}

// The two documents count angles differently: 45 degrees about z in both.
TEST_F(BaModelDataInclude, AnglesKeepTheirUnit) {
  const auto body = [](const std::string& name, const std::string& angle) {
    return "BODY {\nNAME: " + name + "\nCOORDINATE_SYSTEM {\nTRANSLATION: 0 0 0\nROTATION: 0 0 " +
           angle + " X Y Z\n}\nPARENT_NAME: GLOBAL\n}\n";
  };
  write("top.mdl",
        "UNITS {\nANGLE: 0.5 RADIANS\n}\n" + body("a", "1.5707963") + Include("sub.mdl", 5));
  write("sub.mdl", "UNITS {\nANGLE: 10 DEGREES\n}\n" + body("b", "4.5"));
  BaModelData data;
  ASSERT_TRUE(data.read(path("top.mdl").c_str())) << messages();
  EXPECT_EQ(data.angleUnits(), (BaUnits{"RADIANS", 0.5F}));
  for (const char* name : {"a", "b"}) {
    BtCoordSystem system;
    data.getCoordSystem(*data.bodyByName(name), &system);
    EXPECT_NEAR(system.matrix()(0, 1), std::sqrt(0.5), 1e-6) << name;
  }
}

TEST_F(BaModelDataInclude, ErrorsNameTheFiles) {
  const std::string a = DocumentBody("a", "GLOBAL", "ID: 1\n");
  write("plain.mdl", a);
  write("self.mdl", a + Include("self.mdl"));
  write("ping.mdl", Include("parts/../pong.mdl"));
  write("pong.mdl", Include("ping.mdl"));
  write("bad.mdl", "FOO: 1\n");
  write("metric.mdl", "UNITS {\nLENGTH: 1 METERS\n}\n");
  std::ofstream(path("old.mdl")) << "Zov Graphic Model File\nv1.30\n";
#define TOP "E Unable to read 'DIR/top.mdl'.\nE Unable to include sub-model.\n"
  struct {
    std::string sections;
    const char* messages;
  } cases[] = {
      {Include("none.mdl"), TOP "E Unable to open 'DIR/none.mdl'.\n"},
      {Include("parts"), TOP "E Unable to open 'DIR/parts'.\n"},
      {Include("top.mdl"), TOP "E Model file 'DIR/top.mdl' includes itself.\n"},
      {Include("self.mdl"), TOP "E Unable to read 'DIR/self.mdl'.\nE Unable to include sub-model.\n"
                                "E Model file 'DIR/self.mdl' includes itself.\n"},
      {Include("ping.mdl"),
       TOP "E Unable to read 'DIR/ping.mdl'.\nE Unable to include sub-model.\n"
           "E Unable to read 'DIR/parts/../pong.mdl'.\nE Unable to include sub-model.\n"
           "E Model file 'DIR/parts/../ping.mdl' includes itself.\n"},
      {Include("bad.mdl"),
       TOP "E Unable to read 'DIR/bad.mdl'.\nE Unrecognized key word \"FOO\".\n"},
      {Include("old.mdl"),
       TOP "E File is not a valid Zov Graphic Model File.\n"
           "E Unsupported datafile version 1.30. Application supports version 2.00.\n"},
      {a + Include("plain.mdl", 0, ".x"), TOP "E Multiple bodies have id 1.\n"},
      {a + Include("plain.mdl", 1), TOP "E Multiple bodies have name \"a\".\n"},
      {a + Include("plain.mdl", -1, ".x"), TOP "E Invalid body id 0.\n"},
      {a + Include("plain.mdl", 2147483647, ".x"), TOP "E Invalid body id 2147483648.\n"},
      {a + Include("metric.mdl"),
       "W The length unit of sub-model 'DIR/metric.mdl' (1 METERS) is not that of the model (1 "
       "INCHES).  Its lengths are not converted.\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sections);
    write("top.mdl", c.sections);
    BaModelData data;
    EXPECT_EQ(data.read(path("top.mdl").c_str()), c.messages[0] != 'E');
    EXPECT_EQ(messages(), c.messages);
  }
}

TEST_F(BaModelDataInclude, SavedIncludesFollowTheFile) {
  write("top.mdl", Include("parts/one.mdl", 3, ".x") + Include("/abs/two.mdl"));
  BaModelData data;
  ASSERT_TRUE(data.read(path("top.mdl").c_str(), false)) << messages();
  for (const auto& [file, name] :
       {std::pair{"copy.mdl", "parts/one.mdl"}, std::pair{"parts/copy.mdl", "one.mdl"}}) {
    ASSERT_TRUE(data.save(path(file).c_str())) << messages();
    BaModelData saved;
    ASSERT_TRUE(saved.read(path(file).c_str(), false)) << messages();
    EXPECT_EQ(saved.includes()[0]->fileName(), name);
    EXPECT_EQ(saved.includes()[0]->bodyIdOffset(), 3);
    EXPECT_EQ(saved.includes()[0]->bodyNameSuffix(), ".x");
    EXPECT_EQ(saved.includes()[1]->fileName(), "/abs/two.mdl");
  }
}

// The document that the converter makes of a sample.
void FillFromSample(const std::string& name, BaModelData* data) {
  BaModel model;
  model.read((KESTRIX_SAMPLES "/" + name).c_str());
  ASSERT_TRUE(data->fillFrom(model, true)) << name;
  ASSERT_EQ(TakeMessages(), "") << name;
}

void ExpectNear(float a, float b, double tolerance) {
  EXPECT_NEAR(a, b, tolerance * std::max(1.0, static_cast<double>(std::fabs(a))));
}

// A group of a geometry and the points of its vertex set.
struct GroupView {
  const BaMDMaterialGroup* group;
  const BtDArray<BaMDPoint>* points;
};

std::map<std::string, GroupView> GroupsOf(const BaModelData& data, const BtStr& body_name) {
  std::map<std::string, GroupView> groups;
  for (const BaMDGeometry* geometry : data.geometriesOf(body_name)) {
    const BaMDVertices* vertices = data.vertexSetByName(geometry->verticesName());
    for (const BaMDMaterialGroup* group : geometry->materialGroups()) {
      groups[std::string(group->material().view())] = {
          group, vertices == nullptr ? nullptr : &vertices->coordinates()};
    }
  }
  return groups;
}

// Vertices may be numbered differently: the order of the groups is the files' own.
template <class Entry>
void ExpectSameCorners(const GroupView& a, const GroupView& b,
                       const BaMDIndexLists<Entry>& (BaMDMaterialGroup::*lists)() const) {
  const auto index = [](const auto& entry) {
    if constexpr (std::is_same_v<Entry, int>)
      return entry - 1;
    else
      return entry.vertex - 1;
  };
  const std::span<const Entry> entries_a = (a.group->*lists)().entries();
  const std::span<const Entry> entries_b = (b.group->*lists)().entries();
  ASSERT_EQ((a.group->*lists)().count(), (b.group->*lists)().count());
  ASSERT_EQ(entries_a.size(), entries_b.size());
  for (std::size_t i = 0; i < entries_a.size(); ++i) {
    const BaMDPoint& p = (*a.points)[index(entries_a[i])];
    const BaMDPoint& q = (*b.points)[index(entries_b[i])];
    ExpectNear(p.x, q.x, 1e-4);
    ExpectNear(p.y, q.y, 1e-4);
    ExpectNear(p.z, q.z, 1e-4);
  }
}

// How many vertices of a body flex toward each target, and with which weight in all.
std::map<std::string, double> FlexWeights(const BaModelData& data, const BtStr& body_name) {
  std::map<std::string, double> weights;
  const BaMDVertices* vertices = data.vertexSetByName(body_name + "_vertices");
  if (vertices == nullptr) return weights;
  for (const BaMDVertexEffects* effects : vertices->effects()) {
    if (effects->asFlex() == nullptr) continue;
    double& sum = weights[std::string(effects->asFlex()->bodyName().view())];
    for (const BaMDFlexVEffects::Weight& entry : effects->asFlex()->weights()) {
      sum += static_cast<double>(entry.weight);
    }
  }
  return weights;
}

void ExpectSameBody(const BaModelData& a, const BaModelData& b, const BaMDBody& body) {
  const BaMDBody* other = b.bodyById(body.id());
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(body.name(), other->name());
  EXPECT_EQ(body.parentName(), other->parentName());
  BtCoordSystem systems[2];
  a.getCoordSystem(body, &systems[0]);
  b.getCoordSystem(*other, &systems[1]);
  for (int i = 0; i < 12; ++i) {
    ExpectNear(systems[0].matrix()(i / 3, i % 3), systems[1].matrix()(i / 3, i % 3), 1e-5);
  }
  std::map<std::string, GroupView> groups = GroupsOf(b, body.name());
  for (const auto& [material, group] : GroupsOf(a, body.name())) {
    ASSERT_TRUE(groups.contains(material)) << material;
    ExpectSameCorners(group, groups[material], &BaMDMaterialGroup::polygons);
    ExpectSameCorners(group, groups[material], &BaMDMaterialGroup::texturedPolygons);
    EXPECT_EQ(group.group->bones().size(), groups[material].group->bones().size());
  }
  std::map<std::string, double> weights = FlexWeights(b, body.name());
  for (const auto& [target, sum] : FlexWeights(a, body.name())) {
    EXPECT_NEAR(sum, weights[target], 1e-3 * sum) << target;
  }
}

// Both forms of a sample describe the same character; sliders are in the document form only.
TEST(BaModelDataSamples, BothFormsGiveTheSameDocument) {
  for (const std::string name : {"fox", "robot", "walker"}) {
    SCOPED_TRACE(name);
    BaModelData legacy;
    BaModelData document;
    FillFromSample(name + ".mdl", &legacy);
    FillFromSample(name + "-v2.mdl", &document);
    ASSERT_EQ(legacy.bodies().count(), document.bodies().count());
    ASSERT_EQ(legacy.geometries().count(), document.geometries().count());
    for (const BaMDBody* body : legacy.bodies()) ExpectSameBody(legacy, document, *body);
    for (const BaMDMaterial* material : legacy.materials()) {
      const BaMDMaterial* other = document.materialByName(material->name());
      ASSERT_NE(other, nullptr) << material->name();
      EXPECT_EQ(Print(*material), Print(*other));
    }
  }
}

TEST(BaModelDataSamples, StageIncludesTheFox) {
  BaModelData stage;
  FillFromSample("stage-v2.mdl", &stage);
  EXPECT_EQ(stage.bodies().count(), 26);
  BaModelData fox;
  FillFromSample("fox-v2.mdl", &fox);
  for (const BaMDBody* body : fox.bodies()) {
    const BaMDBody* guest = stage.bodyById(body->id() + 100);
    ASSERT_NE(guest, nullptr);
    EXPECT_EQ(guest->name(), body->name() + "_guest");
  }
}

}  // namespace
