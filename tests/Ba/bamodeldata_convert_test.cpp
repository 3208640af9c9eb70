#include <gtest/gtest.h>

#include <cmath>

#include "Ba/modeltexts.h"
#include "Ba/workingfolder.h"

namespace {

// A triangle of body `body`, with effects.
std::string Shape(const std::string& body, const std::string& material,
                  const std::string& effects = "", const std::string& polygon = "1 2 3") {
  return DocumentShape(body, material, effects, "POLYGONS {\n" + polygon + "\n}\n");
}
std::string IncludeBlock(const std::string& file, int offset = 0, const std::string& suffix = "") {
  return "INCLUDE {\nFILE_NAME: " + file + "\nBODY_ID_OFFSET: " + std::to_string(offset) +
         "\nBODY_NAME_SUFFIX: " + suffix + "\n}\n";
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
  const Document data(kDocumentBody + DocumentBody("b", "a", "ID: 7\n") + DocumentBody("c", "b") +
                      DocumentBody("ReferenceSystemZero", "c", "ID: 3\n") +
                      DocumentBody("d", "ReferenceSystemZero", "ID: 1\n"));
  const ExtractedModel model(data);
  EXPECT_EQ(BodyTree(model), "d 1 < 3\nReferenceSystemZero 3 < 9\nb 7 < 8\na 8 < 0\nc 9 < 7\n");
  EXPECT_EQ(BtCoordSystem(model.findBody(7)->transform()).origin(),
            (std::array<float, 3>{1, 2, 3}));
}

// Effects of one kind are summed up, and components that a colour lacks are 0. All else comes back
// in random documents, too.
TEST(BaModelDataExtract, EffectsAndTexturesComeBackFromTheModel) {
  const std::string effects =
      "FLEX {\nBODY: b\nWEIGHTS {\n0.5 1\n0.25 1\n}\n}\n"
      "FLEX {\nBODY: a\nWEIGHTS {\n0.125 2\n}\n}\n";
  const Document data(DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a", "ID: 2\n") +
                      MaterialSection("m", "AMBIENT: 0.5\nALPHA: 0.25\n") +
                      Shape("b", "m", effects));
  const ExtractedModel model(data);
  EXPECT_EQ(model.polygons()[0]->vertices()[1].effects().first()->type(), BaFlexEffect);
  EXPECT_EQ(model.polygons()[0]->vertices()[0].effects().first()->type(), BaFlex2Effect);
  const FilledDocument again(model);
  EXPECT_EQ(Print(*again.materials()[0]),
            "MATERIAL {\n  NAME: m\n  EMISSION: \n  AMBIENT: 0.5 0 0\n  DIFFUSE: \n  SPECULAR: \n"
            "  SHININESS: 0\n  ALPHA: 0.25\n}\n");
  EXPECT_EQ(
      Print(*again.vertexSets()[0]),
      "VERTICES {\n  NAME: b_vertices\n  COORDINATES {\n    0 0 0\n    1 0 0\n    1 1 0\n  }\n"
      "  EFFECTS {\n    FLEX {\n      BODY: a\n      WEIGHTS {\n        0.125 2\n      }\n"
      "    }\n    FLEX {\n      BODY: b\n      WEIGHTS {\n        0.75 1\n      }\n    }\n"
      "  }\n}\n");
}

TEST(BaModelDataExtract, WarnsOfRepeatedPlaces) {
#define SAME_PLACE "W Duplicate vertex coordinates in polygon removed.\n"
  struct {
    const char* polygon;
    const char* messages;
  } cases[] = {
      {"1 4 2 3", SAME_PLACE},
      {"1 2 3 4", SAME_PLACE},
      {"1 2 4\n1 2 3", "W Degenerate polygon removed\n" SAME_PLACE},
      {"1 2 3\n}\nTEXTURED_POLYGONS {\n1/1 4/1 2/1", "W Degenerate polygon removed.\n" SAME_PLACE},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.polygon);
    const Document data(kDocumentBody + MaterialSection("m") + Shape("a", "m", "", c.polygon));
    const ExtractedModel model(data);
    EXPECT_EQ(TakeMessages(), c.messages);
    EXPECT_EQ(model.polygons().size() + model.texturedPolygons().size(), 1);
  }
}

// What files cannot do, callers can.
TEST(BaModelDataExtract, BrokenDocumentsAreRefused) {
  const Document data(kDocumentBody + MaterialSection("m") + Shape("a", "m"));
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
  const Document data(kDocumentBody);
  data.bodies()[0]->setParentName("b");
  BaModel model;
  EXPECT_DEATH((void)data.extractTo(&model),
               "Body \"a\" specifies a parent body, \"b\", that does not(.|\n)*p_id!= -1");
  const Document materials(MaterialSection("m", "TEXTURE {\nNAME: x\n}\n"));
  BaModel target;
  ASSERT_TRUE(materials.extractMaterialsTo(&target, false, false));
  EXPECT_TRUE(target.materials()[0]->textures().empty());
  ASSERT_TRUE(materials.extractMaterialsTo(&target, false, true));
  EXPECT_EQ(target.materials().count(), 1);
  EXPECT_DEATH((void)materials.extractMaterialsTo(&target, false, false),
               "model->materialByName\\(ba_mat.name\\(\\)\\)==0");
}

TEST(BaModelDataEdit, ChangesBodyNamesEverywhere) {
  Document data(DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a") +
                MaterialSection("m") + Shape("b", "m", "FLEX {\nBODY: a\nWEIGHTS {\n1 1\n}\n}\n"));
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
  const Document data(kDocumentBody + MaterialSection("m") +
                      Shape("a", "m", "",
                            "1 2 3\n}\nTEXTURED_POLYGONS {\n3/1 2/1 1/1\n}\n"
                            "TEXTURED_TRIANGLE_STRIPS {\n1/1 2/1 3/1 4/1"));
  data.geometries()[0]->untexture();
  EXPECT_EQ(Print(*data.geometries()[0]->materialGroups()[0]),
            "  MATERIAL_GROUP {\n    MATERIAL: m\n    POLYGONS {\n      1 2 3\n      3 2 1\n    }\n"
            "    TRIANGLE_STRIPS {\n      1 2 3 4\n    }\n  }\n");
}

class BaModelDataInclude : public WorkingFolder {
 protected:
  BaModelDataInclude() { std::filesystem::create_directory("parts"); }

  static void write(const std::string& name, const std::string& sections) {
    WorkingFolder::write(name, kDocumentHeader + sections);
  }
};

TEST_F(BaModelDataInclude, MergesModelsOfOtherFolders) {
  const std::string red = "DIFFUSE: 1 0 0\n";
  const std::string blue = "DIFFUSE: 0 0 1\n";
  const std::string smile = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nsmile\n}\n}\n";
  const std::string frown = "SLIDER_GROUP {\nNAME: face\nSLIDERS {\nfrown\n}\n}\n";
  const std::string blend =
      "BLEND {\nSLIDER_GROUP: face\nSLIDER_NAME: frown\nVECTORS {\n1 1 1 1\n}\n}\n";
  write("top.mdl", DocumentBody("a", "GLOBAL", "ID: 1\n") + MaterialSection("skin", red) + smile +
                       Shape("a", "skin") + IncludeBlock("parts/one.mdl", 10, ".1") +
                       IncludeBlock("parts/one.mdl", 20, ".2") + "COMMENT: ok\n");
  write("parts/one.mdl",
        DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a", "ID: 2\n") +
            MaterialSection("skin",
                            blue + "TEXTURE {\nNAME: x.png\n}\nTEXTURE {\nNAME: C:\\y.png\n}\n") +
            frown + Shape("b", "skin", "FLEX {\nBODY: a\nWEIGHTS {\n1 2\n}\n}\n" + blend) +
            IncludeBlock("../two.mdl", 2, "_in"));
  write("two.mdl", DocumentBody("c", "GLOBAL", "ID: 1\n") + MaterialSection("skin", red) +
                       MaterialSection("map", "TEXTURE {\nNAME: y.png\n}\n"));
  BaModelData data;
  ASSERT_TRUE(data.read("top.mdl")) << TakeMessages();
  EXPECT_EQ(TakeMessages(), "");
  const ExtractedModel model(data);
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
  read_model.read("top.mdl");
  EXPECT_EQ(BodyTree(read_model), BodyTree(model)) << TakeMessages();
}

// The two documents count angles differently: 45 degrees about z in both.
TEST_F(BaModelDataInclude, AnglesKeepTheirUnit) {
  const auto body = [](const std::string& name, const std::string& angle) {
    return "BODY {\nNAME: " + name + "\nCOORDINATE_SYSTEM {\nTRANSLATION: 0 0 0\nROTATION: 0 0 " +
           angle + " X Y Z\n}\nPARENT_NAME: GLOBAL\n}\n";
  };
  write("top.mdl",
        "UNITS {\nANGLE: 0.5 RADIANS\n}\n" + body("a", "1.5707963") + IncludeBlock("sub.mdl", 5));
  write("sub.mdl", "UNITS {\nANGLE: 10 DEGREES\n}\n" + body("b", "4.5"));
  BaModelData data;
  ASSERT_TRUE(data.read("top.mdl")) << TakeMessages();
  EXPECT_EQ(data.angleUnits(), (BaUnits{"RADIANS", 0.5F}));
  for (const char* name : {"a", "b"}) {
    BtCoordSystem system;
    data.getCoordSystem(*data.bodyByName(name), &system);
    EXPECT_NEAR(system.matrix()(0, 1), std::sqrt(0.5), 1e-6) << name;
  }
}

TEST_F(BaModelDataInclude, ErrorsNameTheFiles) {
  const std::string a = DocumentBody("a", "GLOBAL", "ID: 1\n");
  std::filesystem::create_directory("folder.mdl");
  write("plain.mdl", a);
  write("self.mdl", a + IncludeBlock("self.mdl"));
  write("ping.mdl", IncludeBlock("folder.mdl/../pong.mdl"));
  write("pong.mdl", IncludeBlock("ping.mdl"));
  write("bad.mdl", "FOO: 1\n");
  write("metric.mdl", "UNITS {\nLENGTH: 1 METERS\n}\n");
  WorkingFolder::write("old.mdl", kLegacyHeader);
  for (const ErrorCase& c : ReadErrorCases("including-documents.txt")) {
    SCOPED_TRACE(c.text);
    write("top.mdl", c.text);
    BaModelData data;
    EXPECT_EQ(data.read("top.mdl"), !c.lines.starts_with("ERROR"));
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

TEST_F(BaModelDataInclude, SavedIncludesFollowTheFile) {
  write("top.mdl", IncludeBlock("parts/one.mdl", 3, ".x") + IncludeBlock("/abs/two.mdl"));
  BaModelData data;
  ASSERT_TRUE(data.read("top.mdl", false)) << TakeMessages();
  for (const auto& [file, name] :
       {std::pair{"copy.mdl", "parts/one.mdl"}, std::pair{"parts/copy.mdl", "one.mdl"}}) {
    ASSERT_TRUE(data.save(file)) << TakeMessages();
    BaModelData saved;
    ASSERT_TRUE(saved.read(file, false)) << TakeMessages();
    EXPECT_EQ(saved.includes()[0]->fileName(), name);
    EXPECT_EQ(saved.includes()[0]->bodyIdOffset(), 3);
    EXPECT_EQ(saved.includes()[0]->bodyNameSuffix(), ".x");
    EXPECT_EQ(saved.includes()[1]->fileName(), "/abs/two.mdl");
  }
}

}  // namespace
