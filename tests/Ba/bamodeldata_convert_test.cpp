// Documents become models and models documents, and documents include others.

#include <cmath>
#include <functional>
#include <map>
#include <random>

#include "Ba/bamodelcombine.h"
#include "Ba/bamodeldatapolyset.h"
#include "Ba/modeltexts.h"
#include "Bt/btangles.h"
#include "Bt/workingfolder.h"

namespace {

std::string SliderGroup(const std::string& name, const std::string& sliders) {
  return "SLIDER_GROUP {\nNAME: " + name + "\nSLIDERS {\n" + sliders + "\n}\n}\n";
}
std::string Blend(const std::string& group, const std::string& slider) {
  return "BLEND {\nSLIDER_GROUP: " + group + "\nSLIDER_NAME: " + slider +
         "\nVECTORS {\n1 2 3 1\n}\n}\n";
}

// A triangle of body `body`, with effects.
std::string Shape(const std::string& body, const std::string& material,
                  const std::string& effects = "", const std::string& polygon = "1 2 3") {
  return DocumentShape(body, material, effects, "POLYGONS {\n" + polygon + "\n}\n");
}

// Effects of one kind are summed up, and components that a colour lacks are 0. All else comes back
// in random documents, too.
TEST(BaModelDataExtract, EffectsAndColoursComeBackFromTheModel) {
  const ExtractedModel model(Document(DocumentText("split-effects.mdl")));
  EXPECT_EQ(model.polygons()[0]->vertices()[1].effects().first()->type(), BaFlexEffect);
  EXPECT_EQ(model.polygons()[0]->vertices()[0].effects().first()->type(), BaFlex2Effect);
  EXPECT_EQ(Print(FilledDocument(model)), ModelText("summed-effects.mdl"));
}

// Geometries over one vertex set: the effects of a vertex depend on the parent of the body.
std::string SharedSet() {
  const auto geometry = [](const std::string& body, const std::string& polygons) {
    return "GEOMETRY {\nBODY: " + body + "\nVERTICES: v\nMATERIAL_GROUP {\nMATERIAL: m\n" +
           "POLYGONS {\n" + polygons + "\n}\n}\n}\n";
  };
  return DocumentBody("a", "GLOBAL", "ID: 1\n") + DocumentBody("b", "a", "ID: 2\n") +
         DocumentBody("c", "b", "ID: 3\n") + DocumentBody("d", "b", "ID: 4\n") +
         DocumentBody("e", "GLOBAL", "ID: 5\n") + MaterialSection("m") +
         "VERTICES {\nNAME: v\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n}\nEFFECTS {\n" +
         "FLEX {\nBODY: b\nWEIGHTS {\n.5 1\n1 2\n}\n}\nFLEX {\nBODY: e\nWEIGHTS {\n.25 1\n}\n}\n" +
         "}\n}\n" + geometry("c", "1 2 3\n1 3 4") + geometry("d", "1 2 3") +
         geometry("a", "1 2 3") + geometry("c", "1 3 4");
}

TEST(BaModelDataExtract, GeometriesMayShareAVertexSet) {
  const ExtractedModel model{Document(SharedSet())};
  const char* const to_parent = " 0 0 0 2 0.5 3 0.25 5 -1";
  const char* const first_vertices[] = {to_parent, to_parent, to_parent,
                                        " 0 0 0 3 0.5 2 3 0.25 5 -1", to_parent};
  ASSERT_EQ(model.polygons().size(), std::ssize(first_vertices));
  for (int i = 0; i < model.polygons().size(); ++i) {
    EXPECT_EQ(Print(model.polygons()[i]->vertices()[0]), first_vertices[i]) << i;
  }
  EXPECT_EQ(Print(std::as_const(*model.polygons()[2]).vertices()[1]), " 1 0 0 2 1 -1");
  EXPECT_TRUE(std::as_const(*model.polygons()[2]).vertices()[2].effects().empty());
}

// What two corners of a body share is one also after an edit: a model may have many corners of a
// vertex with many effects.
TEST(BaModelEdit, LeavesEffectsShared) {
  const std::pair<void (*)(BaModel&), const char*> cases[] = {
      {[](BaModel&) {}, " 2 0.5 3 0.25 5"},
      {[](BaModel& m) { m.changeBodyId(5, 9); }, " 2 0.5 3 0.25 9"},
      {[](BaModel& m) { m.removeBody(m.findBody(5)); }, " 2 0.5"},
  };
  for (const auto& [edit, effects] : cases) {
    ExtractedModel model{Document(SharedSet())};
    edit(model);
    BaModel combined;
    combined.beginLoad();
    EXPECT_TRUE(BaModelCombine(&combined).add(model, 0, "") && combined.endLoad());
    for (const BaModel* m : std::initializer_list<const BaModel*>{&model, &combined}) {
      const BaVertex& vertex = std::as_const(*m->polygons()[0]).vertices()[0];
      EXPECT_EQ(Print(vertex), " 0 0 0" + std::string(effects) + " -1");
      const BaVertex& other = std::as_const(*m->polygons()[1]).vertices()[0];
      EXPECT_EQ(vertex.effects().first(), other.effects().first()) << effects;
    }
  }
}

TEST(BaModelDataExtract, WarnsOfRepeatedPlaces) {
  for (const ErrorCase& c : ReadErrorCases("repeated-places.txt")) {
    SCOPED_TRACE(c.text);
    const Document data(kDocumentBody + MaterialSection("m") + Shape("a", "m", "", c.text));
    const ExtractedModel model(data);
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
    EXPECT_EQ(model.polygons().size() + model.texturedPolygons().size(), 1);
  }
}

// Ids up to the highest that there may be are given away before lower ones are.
TEST(BaModelDataExtract, FindsFreeIds) {
  const std::pair<std::vector<int>, std::vector<int>> cases[] = {
      {{2, 0, 0}, {2, 3, 4}},
      {{4194301, 0, 0}, {4194301, 4194302, 4194303}},
      {{4194302, 0, 1, 0, 0}, {4194302, 2, 1, 3, 4}},
      {{0, 4194303}, {1, 4194303}},
  };
  for (const auto& [given, expected] : cases) {
    std::string sections;
    for (const int id : given) {
      sections += DocumentBody("b" + std::to_string(sections.size()), "GLOBAL",
                               id == 0 ? "" : "ID: " + std::to_string(id) + "\n");
    }
    const Document data(sections);
    const ExtractedModel model(data);
    for (int i = 0; i < data.bodies().count(); ++i) {
      EXPECT_EQ(model.findBody(data.bodies()[i]->name())->id(),
                expected[static_cast<std::size_t>(i)]);
    }
  }
}

// What files cannot do, callers can.
TEST(BaModelDataExtract, BrokenDocumentsAreRefused) {
  Document data(kDocumentBody + MaterialSection("m") + SliderGroup("g", "s") + Shape("a", "m"));
  data.setLengthUnits({"METERS", 2});
  const auto expect_error = [&data](const std::string& message) {
    BaModel model;
    EXPECT_FALSE(data.extractTo(&model));
    EXPECT_EQ(TakePrinted(), PrintedError(message));
    EXPECT_EQ(Print(FilledDocument(model)), Print(BaModelData()));
    EXPECT_TRUE(model.bodies().empty());
  };
  AddMDGeometry(&data, "b");
  expect_error("GEOMETRY section specifies a body, \"b\", that does not exist.");
  BaMDMaterialGroup& group = *data.geometries()[0]->materialGroups()[0];
  group.polygons().push(0);
  group.polygons().endList();
  expect_error("Invlalid vertex in GEOMETRY for body a.");
}

// And these end the process.
TEST(BaModelDataExtract, Assertions) {
  BaModelData data;
  AddMDBody(&data, "a", "b");
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
  for (const BaMDBody* body : data.bodies()) {
    EXPECT_EQ(&data.childBodies(*body), &data.childBodies(body->name()));
    EXPECT_EQ(&data.geometriesOf(*body), &data.geometriesOf(body->name()));
  }
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

// What is read later may refer to what was added before.
TEST(BaModelDataEdit, ReadsOnInADocument) {
  BaModelData data;
  auto material = std::make_unique<BaMDMaterial>();
  material->setName("m");
  data.addMaterial(std::move(material));
  EXPECT_TRUE(Scan(kDocumentBody + Shape("a", "m"), &data)) << TakePrinted();
  EXPECT_TRUE(Scan(DocumentBody("b", "a") + Shape("b", "m"), &data)) << TakePrinted();
  EXPECT_FALSE(Scan(MaterialSection("m"), &data));
  EXPECT_EQ(TakePrinted(), PrintedError("Multiple materials have name \"m\"."));
}

class BaModelDataInclude : public WorkingFolder {
 protected:
  BaModelDataInclude() {
    std::filesystem::copy(KESTRIX_TEST_DATA "/models/including", ".",
                          std::filesystem::copy_options::recursive);
  }
};

// The two readers merge alike. The red skin of the innermost model is the one of the outermost.
TEST_F(BaModelDataInclude, MergesModelsOfOtherFolders) {
  BaModelData data;
  ASSERT_TRUE(data.read("top.mdl")) << TakePrinted();
  EXPECT_EQ(TakePrinted(), "");
  EXPECT_EQ(Print(data), ModelText("included.mdl"));
  BaModel model;
  model.read("top.mdl");
  EXPECT_EQ(TakePrinted(), "");
  EXPECT_EQ(Print(FilledDocument(model)), Print(FilledDocument(ExtractedModel(data))));
}

// The two documents count angles differently: 45 degrees about z in both.
TEST_F(BaModelDataInclude, AnglesKeepTheirUnit) {
  BaModelData data;
  ASSERT_TRUE(data.read("half-radians.mdl")) << TakePrinted();
  EXPECT_EQ(data.angleUnits(), (BaUnits{"RADIANS", 0.5F}));
  for (const char* name : {"a", "b"}) {
    BtCoordSystem system;
    data.getCoordSystem(*data.bodyByName(name), &system);
    EXPECT_NEAR(system.matrix()(0, 1), std::sqrt(0.5), 1e-6) << name;
  }
}

TEST_F(BaModelDataInclude, ErrorsNameTheFiles) {
  std::filesystem::create_directory("folder.mdl");
  for (const ErrorCase& c : ReadErrorCases("including-documents.txt")) {
    SCOPED_TRACE(c.text);
    _folder.write("top.mdl", kDocumentHeader + c.text);
    BaModelData data;
    EXPECT_EQ(data.read("top.mdl"), !c.lines.starts_with("ERROR"));
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

TEST_F(BaModelDataInclude, SavedIncludesFollowTheFile) {
  std::filesystem::create_directories("far/off");
  std::filesystem::create_directory_symlink("far/off", "link");
  BaModelData data;
  ASSERT_TRUE(data.read("two-includes.mdl", false)) << TakePrinted();
  for (const auto& [file, name] :
       {std::pair{"copy.mdl", "parts/one.mdl"}, std::pair{"parts/copy.mdl", "one.mdl"},
        std::pair{"link/copy.mdl", "../../parts/one.mdl"}}) {
    EXPECT_TRUE(data.save(file)) << TakePrinted();
    BtStr expected(ReadFile("two-includes.mdl"));
    expected.replace("parts/one.mdl", name);
    EXPECT_EQ(ReadFile(file), expected.view());
  }
}

// The names in a document start from the folder of the text that it holds.
TEST_F(BaModelDataInclude, NamesStartFromTheFolderOfTheText) {
  _folder.write("parts/top.mdl", kDocumentHeader + DocumentBody("x", "GLOBAL", "ID: 99\n") +
                                     "INCLUDE {\nFILE_NAME: one.mdl\n}\n");
  const std::pair<bool (*)(BaModelData*), const char*> cases[] = {
      {[](BaModelData*) { return true; }, "parts/new.mdl"},
      {[](BaModelData* data) { return data->read("parts/top.mdl"); }, "parts/new.mdl"},
      {[](BaModelData* data) {
         data->clear();
         return true;
       },
       "new.mdl"},
      {[](BaModelData* data) { return data->fillFrom(LegacyModel(Body(1, "a", 0)), true); },
       "new.mdl"},
  };
  for (const auto& [change, name] : cases) {
    BaModelData data;
    EXPECT_TRUE(data.read("parts/one.mdl", false) && change(&data)) << TakePrinted();
    auto include = std::make_unique<BaMDInclude>();
    include->setFileName("new.mdl");
    data.addInclude(std::move(include));
    EXPECT_TRUE(data.save("copy.mdl")) << TakePrinted();
    EXPECT_NE(ReadFile("copy.mdl").find(std::string("FILE_NAME: ") + name + "\n"),
              std::string::npos)
        << ReadFile("copy.mdl");
  }
}

// A model has a place for every body id below its highest one, which counts like text.
TEST_F(BaModelDataInclude, CountsHighBodyIds) {
  _folder.write("part.mdl", kDocumentHeader + DocumentBody("a", "GLOBAL", "ID: 4194303\n"));
  _folder.write("large.mdl", "");
  std::filesystem::resize_file("large.mdl", (1 << 28) - (1 << 22));  // takes no room
  _folder.write("top.mdl", kDocumentHeader + "INCLUDE {\nFILE_NAME: part.mdl\n}\n" +
                               "INCLUDE {\nFILE_NAME: large.mdl\n}\n");
  BaModelData data;
  EXPECT_FALSE(data.read("top.mdl"));
  EXPECT_EQ(TakePrinted(),
            PrintedError("Unable to read 'top.mdl'.|Unable to include sub-model.|"
                         "The files that are included come to more than 268435456 bytes."));
}

// Two quads that share an edge.
const std::string kTwoQuads = Body(1, "arm", 0) + Material(1, "skin") +
                              "F 1 1 4  0 0 0 -1  1 0 0 -1  1 1 0 -1  0 1 0 -1\n"
                              "F 1 1 4  1 0 0 -1  2 0 0 -1  2 1 0 -1  1 1 0 -1\n";

TEST(BaModelDataFill, WeldsCornersOnlyWhenAsked) {
  BaModelData data;
  ASSERT_TRUE(data.fillFrom(LegacyModel(kTwoQuads), false)) << TakePrinted();
  EXPECT_NE(Print(data).find("      1 2 3 4\n      5 6 7 8\n"), std::string::npos) << Print(data);
  EXPECT_EQ(data.vertexSets()[0]->coordinates().size(), 8);
  EXPECT_TRUE(BaModelData_PolySet::mergeVertices());
}

// Every kind of element, two materials of one name, effects of every kind that a legacy file can
// hold; bodies stand parents first.
TEST(BaModelDataFill, LegacyModelsBecomeDocuments) {
  LegacyModel model(ModelText("unfilled.mdl").substr(kLegacyHeader.size()));
  model.renameBody(model.findBody(3), "left\tarm x");
  const FilledDocument data(model);
  theExceptObj.clear();
  EXPECT_EQ(Print(data), ModelText("filled.mdl"));
  EXPECT_NE(data.materialByName("skin_9"), nullptr);
  for (const BaMDBody* body : data.bodies()) {
    EXPECT_EQ(data.bodyByName(body->name()), body);
    EXPECT_EQ(data.bodyById(body->id()), body);
  }
  ASSERT_EQ(data.childBodies("hip").size(), 2U);
  EXPECT_EQ(data.childBodies("hip")[1]->id(), 8);
  EXPECT_TRUE(data.childBodies("nobody").empty());
}

// What serves for one body after the other keeps nothing of the one before: a part of its shape, a
// textured one and a plain one, another material.
TEST(BaModelDataFill, BodiesHaveVerticesOfTheirOwn) {
  const std::string quad = " 4  0 0 0 -1  1 0 0 -1  1 1 0 -1  0 1 0 -1\n";
  const std::string textured = " 3  0 0 1 0 0 -1  1 0 1 1 0 -1  1 1 0 1 0 -1\n";
  const LegacyModel model(kTwoQuads + Material(2, "cloth") + Body(2, "hand", 1) +
                          Body(3, "hat", 1) + Body(4, "head", 1) + "F 2 2" + quad + "P 3 1" +
                          textured + "F 4 1" + quad);
  const FilledDocument data(model);
  const struct {
    int points;
    int coords;
    const char* material;
  } expected[] = {{6, 0, "skin"}, {4, 0, "cloth"}, {3, 3, "skin"}, {4, 0, "skin"}};
  for (int i = 0; i < 4; ++i) {
    const BaMDGeometry& geometry = *data.geometries()[i];
    EXPECT_EQ(data.vertexSetByName(geometry.verticesName())->coordinates().size(),
              expected[i].points);
    EXPECT_EQ(geometry.textureCoords().size(), expected[i].coords);
    ASSERT_EQ(geometry.materialGroups().count(), 1);
    EXPECT_EQ(geometry.materialGroups()[0]->material(), expected[i].material);
  }
}

// Polygons go as soon as the document has them; what else there is stays.
TEST(BaModelDataFill, MovingEmptiesTheModel) {
  for (const std::string& more : {std::string(), Body(2, "hand", 1) + "B 2 1 0 0 0 1 1 1\n",
                                  std::string("F 0 1 3 0 0 0 -1 1 0 0 -1 1 1 0 -1\n"),
                                  Body(2, "hand", 1) + "f 1 1 2 2 0 5 0 0 -1 1 6 0 0 -1\n"}) {
    const bool is_of_world = more.starts_with('F');
    LegacyModel model((is_of_world ? Material(1, "skin") : kTwoQuads) + more);
    const std::string filled = Print(FilledDocument(model));
    const int n_flexible = model.flexiblePolygons().size();
    BaModelData moved;
    ASSERT_TRUE(moved.moveFrom(&model, true)) << TakePrinted();
    theExceptObj.clear();
    EXPECT_EQ(Print(moved), filled);
    EXPECT_TRUE(model.polygons().empty() && !model.findBody(is_of_world ? 0 : 1)->hasPolygons());
    EXPECT_EQ(model.flexiblePolygons().size(), n_flexible);
    BtStr fault;
    EXPECT_TRUE(model.checkInvariants(&fault)) << fault;
  }
}

// A polygon or strip with a number of corners that differ, which stand in a row at a height.
std::string Element(char letter, int body, int n_corners, int height) {
  const bool is_strip = letter == 'T' || letter == 't';
  const bool has_texture = letter == 'P' || letter == 't';
  std::string text = {letter, ' '};
  text += std::to_string(body) + " 1 " + std::to_string(n_corners);
  for (int i = 0; i < n_corners; ++i) {
    text += (is_strip ? " 0 " : " ") + std::to_string(i) + " " + std::to_string(i * i) + " " +
            std::to_string(height) + (has_texture ? " 0.5 0.25 -1" : " -1");
  }
  return text + "\n";
}

// Memory goes while the polygons of other bodies are still needed, some of which have memory of
// their own; orders differ from that of the bodies.
TEST(BaModelDataFill, MovingFreesBodyAfterBody) {
  constexpr int kBodies = 12;
  constexpr int kElements = 3000;
  std::mt19937 random(20261122);
  const std::function<int(int)> body_of[] = {
      [](int i) { return 1 + i * kBodies / kElements; },
      [](int i) { return kBodies - i * kBodies / kElements; },
      [&](int) { return 1 + static_cast<int>(random() % kBodies); },
  };
  for (const auto& body : body_of) {
    std::string text = Material(1, "skin");
    for (int id = 1; id <= kBodies; ++id) text += Body(id, "b" + std::to_string(id), 0);
    for (int i = 0; i < kElements; ++i) {
      const int n_corners = random() % 200 == 0 ? 300 : 3 + static_cast<int>(random() % 4);
      text += Element("FPTt"[random() % 4], body(i), n_corners, i);
    }
    LegacyModel model(text);
    const std::string filled = Print(FilledDocument(model));
    BaModelData moved;
    ASSERT_TRUE(moved.moveFrom(&model, true)) << TakePrinted();
    EXPECT_TRUE(Print(moved) == filled);
    EXPECT_EQ(model.polygons().size() + model.texturedTMeshes().size(), 0);
  }
}

TEST(BaModelDataFill, ErrorsAndWarnings) {
  for (const ErrorCase& c : ReadErrorCases("unfilled.txt")) {
    SCOPED_TRACE(c.text);
    BaModel model;
    ASSERT_EQ(ScanInto(&model, kLegacyHeader + c.text), "");
    BaModelData data;
    const bool filled = data.fillFrom(model, true);
    EXPECT_EQ(filled, !c.lines.starts_with("ERROR"));
    EXPECT_TRUE(filled || data.bodies().empty());
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

TEST(BaModelDataFill, OneBodyAtATime) {
  const LegacyModel model(kTwoQuads + Body(2, "a hand", 1) + "B 2 1 0 0 0 1 1 1\n");
  Document data(MaterialSection("skin", "DIFFUSE: 0.5 0.25 1\n"));
  ASSERT_TRUE(data.fillBodyFrom(model, 1, true)) << TakePrinted();
  ASSERT_TRUE(data.fillBodyFrom(model, 2, true)) << TakePrinted();
  EXPECT_EQ(Print(data), Print(FilledDocument(model)));
  BaModelData empty;
  EXPECT_DEATH((void)empty.fillBodyFrom(model, 1, true), "materialByName\\(material.name\\(\\)\\)");
}

// A hand with blends on an arm, and three slider groups, one of which nothing uses.
const std::string kBlendedHand =
    DocumentBody("arm", "GLOBAL", "ID: 1\n") + DocumentBody("hand", "arm", "ID: 2\n") +
    MaterialSection("m") + SliderGroup("g", "r\ns") + SliderGroup("unused", "s") +
    SliderGroup("h", "t") + Shape("hand", "m", Blend("g", "s") + Blend("h", "t") + Blend("g", "r"));
const std::string kArm = MaterialSection("m") + DocumentBody("arm", "GLOBAL");

TEST(BaModelDataFill, BodiesBringTheirSliderGroups) {
  const ExtractedModel model{Document(kBlendedHand)};
  const std::pair<std::string, const char*> cases[] = {{"", "g h "},
                                                       {SliderGroup("h", "u\nt"), "h g "},
                                                       {SliderGroup("unused", "v"), "unused g h "}};
  for (const auto& [groups, expected] : cases) {
    Document data(kArm + groups);
    EXPECT_TRUE(data.fillBodyFrom(model, 2, true)) << TakePrinted();
    std::string names;
    for (const BaMDSliderGroup* group : data.sliderGroups()) {
      names.append(group->name().view()).append(" ");
    }
    EXPECT_EQ(names, expected);
    EXPECT_EQ(Print(Document(Print(data).substr(kDocumentHeader.size()))), Print(data));
  }
}

// What does not fit changes nothing; blends of no slider can only come from callers.
TEST(BaModelDataFill, RefusesBodiesThatDoNotFit) {
  const struct {
    std::string sections, error;
    const char *group = "g", *slider = "s";  // of a blend that the model gets
  } cases[] = {
      {MaterialSection("m"), "Body \"hand\" specifies an undefined parent body \"arm\"."},
      {kArm + DocumentBody("hand", "arm"), "Multiple bodies have name \"hand\"."},
      {kArm + DocumentBody("b", "arm", "ID: 2\n"), "Multiple bodies have id 2."},
      {kArm + "VERTICES {\nNAME: hand_vertices\n}\n",
       "Multiple vertex sets have name \"hand_vertices\"."},
      {kArm + SliderGroup("h", "s"), "Invalid slider name 't' used in the blend effects."},
      {kArm, "A BLEND effect specifies a slider group, \"x\", that does not exist.", "x", "s"},
      {kArm, "Invalid slider name 'x' used in the blend effects.", "g", "x"},
  };
  for (const auto& c : cases) {
    ExtractedModel model{Document(kBlendedHand)};
    auto blend = std::make_unique<BaVertexBlendEffect>();
    blend->slider_group = c.group;
    blend->slider_name = c.slider;
    model.polygons()[0]->vertices()[1].effects().add(std::move(blend));
    Document data(c.sections);
    const std::string before = Print(data);
    EXPECT_FALSE(data.fillBodyFrom(model, 2, true));
    EXPECT_EQ(TakePrinted(), PrintedError(c.error));
    EXPECT_EQ(Print(data), before);
    if (c.sections != kArm) continue;
    EXPECT_FALSE(data.fillFrom(model, true));
    EXPECT_EQ(TakePrinted(), PrintedError(c.error));
    EXPECT_EQ(Print(data), Print(BaModelData()));
  }
}

TEST(BaModelData_PolySet, SplitsLargePolygonsIntoFansOfFaces) {
  const struct {
    int corners, max;
    const char* pieces;
    int on_a_line = 0;  // how many of the corners are
  } cases[] = {
      {4, 4, "0 1 2 3;"},           {5, 4, "0 1 2 3;0 3 4;"},
      {6, 4, "0 1 2 3;0 3 4 5;"},   {7, 4, "0 1 2 3;0 3 4 5;0 5 6;"},
      {5, 3, "0 1 2;0 2 3;0 3 4;"}, {4, 3, "0 2 3;", 3},
  };
  for (const auto& c : cases) {
    BtDArray<BaVertex> vertices;
    BtDArray<BaTextureCoords> coords;
    for (int i = 0; i < c.corners; ++i) {
      const auto x = static_cast<float>(i);
      vertices.append(BaVertex(x, i < c.on_a_line ? 0 : x * x, 0));
      coords.append({x, 0});
    }
    BaTexturedPolygon polygon(1, 1);
    polygon.setVertices(vertices, coords);
    BaModelData_PolySet poly_set(1, 0);
    poly_set.addTexturedPolygon(polygon);
    poly_set.splitPolygons(c.max);
    std::string pieces;
    for (int i = 0; i < poly_set.texturedPolygons().count(); ++i) {
      const BaModelData_PolyList::Polygon piece = poly_set.texturedPolygons()[i];
      for (std::size_t k = 0; k < piece.vertices.size(); ++k) {
        EXPECT_EQ(piece.t_coords[k].u, static_cast<float>(piece.vertices[k]));
        pieces += (k == 0 ? "" : " ") + std::to_string(piece.vertices[k]);
      }
      pieces += ";";
    }
    EXPECT_EQ(pieces, c.pieces);
  }
}

}  // namespace
