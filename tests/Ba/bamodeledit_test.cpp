// Edits one by one: what follows a body, what goes with it, what is refused.

#include "Ba/bamodelcombine.h"
#include "Ba/modeltexts.h"
#include "Bt/btgeoobj.h"
#include "Bt/deathcases.h"

namespace {

std::string Triangle(int body_id, const std::string& effects) {
  return "F " + std::to_string(body_id) + " 1 3 0 0 0 " + effects + " -1 1 0 0 -1 0 1 0 -1\n";
}

// Hips over thigh and chest, thigh over shin, and a prop beside them. The thigh is moved and turned
// by a quarter, the shin is moved.
std::string Skeleton(int hips, int thigh, int chest, int prop, int shin) {
  return Body(hips, "hips", 0) + Body(thigh, "thigh", hips, "0 1 0 -1 0 0 0 0 1 1 2 3\n") +
         Body(chest, "chest", hips) + Body(prop, "prop", 0) +
         Body(shin, "shin", thigh, "1 0 0 0 1 0 0 0 1 10 20 30\n") + Material(1, "skin") +
         Material(2, "cloth");
}
const std::string kTree = Skeleton(1, 2, 3, 4, 5);

// The same with all that can refer to bodies.
std::string Character(const std::array<int, 5>& ids) {
  const auto& [hips, thigh, chest, prop, shin] = ids;
  std::ostringstream os;
  os << Skeleton(hips, thigh, chest, prop, shin) << Triangle(thigh, "") << "F " << chest
     << " 1 1 0 0 0 3 0.5 " << thigh << " 3 0.25 " << shin << " -1\nf " << chest << " 1 0 " << thigh
     << "\nf " << shin << " 1 0 " << prop << "\nm 1 a\n"
     << thigh << " " << shin << "\nm 1 b\n"
     << thigh << "\n";
  return os.str();
}

TEST(BaModelEdit, NewIdsAreAsIfTheyHadBeenThereFromTheBeginning) {
  static const BtMap<int, int> round = {{2, 5}, {5, 3}, {3, 2}, {1, 9}};
  const std::pair<void (*)(BaModel&), std::array<int, 5>> cases[] = {
      {[](BaModel& m) { m.changeBodyId(2, 9); }, {1, 9, 3, 4, 5}},
      {[](BaModel& m) { m.swapBodyIds(2, 5); }, {1, 5, 3, 4, 2}},
      {[](BaModel& m) { m.swapBodyIds(3, 4); }, {1, 2, 4, 3, 5}},
      {[](BaModel& m) { m.changeBodyIds(round); }, {9, 5, 2, 4, 3}},
  };
  for (const auto& [edit, ids] : cases) {
    LegacyModel model(Character({1, 2, 3, 4, 5}));
    edit(model);
    EXPECT_EQ(Print(model), Print(LegacyModel(Character(ids))));
    EXPECT_TRUE(model.checkInvariants(nullptr));
  }
}

// Weight, children and muscles pass to the parent; flexible polygons on either side go.
TEST(BaModelEdit, WhatHangsOnARemovedBodyPassesToItsParent) {
  std::string printed;
  for (const char* name : {"thigh", "shin", "prop"}) {
    LegacyModel model(Character({1, 2, 3, 4, 5}));
    model.removeBody(model.findBody(name));
    EXPECT_EQ(model.findBody(name), nullptr);
    printed += Print(model);
    EXPECT_TRUE(model.checkInvariants(nullptr));
  }
  EXPECT_EQ(printed, ModelText("without-a-body.txt"));
}

// A model whose bodies float numbers cannot place could be written and not be read again.
TEST(BaModelEdit, KeepsABodyWithoutWhichOthersWouldBeNowhere) {
  const char* const cases[] = {"1 0 0 0 1 0 0 0 1 3e38 0 0\n", "1e30 0 0 0 1 0 0 0 1 0 0 0\n"};
  for (const char* matrix : cases) {
    const std::string text = Body(1, "a", 0, matrix) + Body(2, "b", 1, matrix) + Material(1, "m") +
                             "F 1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
    LegacyModel model(text);
    EXPECT_FALSE(model.removeBody(model.findBody(1)));
    EXPECT_EQ(TakePrinted(), PrintedLines("ERROR: Body \"a\" cannot be removed: the transform of "
                                          "\"b\" would not be finite."));
    EXPECT_EQ(Print(model), Print(LegacyModel(text)));
  }
}

// Where the parent of a removed body is the world or the vertex's own body, nothing is followed.
TEST(BaModelEdit, GivesWeightBackWhereNothingInherits) {
  const std::tuple<int, const char*, const char*> cases[] = {
      {1, "2 0.5", ""},
      {1, "2 0.5 3 0.25 1 3 0.125 4", " 3 0.125 4"},
      {2, "2 0.5 3 0.25 2", " 2 0.5 3 0.25 1"},
      {4, "2 0.5 3 0.25 4", " 2 0.5"},
  };
  for (const auto& [removed, effects, left] : cases) {
    LegacyModel model(kTree + Triangle(3, effects) + Triangle(1, "3 0.5 2"));
    model.removeBody(model.findBody(removed));
    EXPECT_EQ(Print(model.polygons()[0]->vertices()[0]), std::string(" 0 0 0") + left + " -1")
        << removed << effects;
    if (removed == 2) {
      EXPECT_TRUE(model.polygons()[1]->vertices()[0].effects().empty());
    }
  }
}

// Files may let textured polygons follow bodies that do not exist; no body becomes theirs.
TEST(BaModelEdit, LeavesLostReferencesLost) {
  LegacyModel model(kTree + "P 3 1 1 0 0 0 0 0 3 0.5 77 3 0.25 2 3 0.125 78 3 1 99 -1\n");
  model.changeBodyIds({{2, 77}, {5, 2}, {4, 78}});
  EXPECT_EQ(Print(model.texturedPolygons()[0]->vertices()[0]),
            " 0 0 0 3 0.5 4 3 0.25 77 3 0.125 5 3 1 99 -1");
  EXPECT_TRUE(model.checkInvariants(nullptr));
}

// A legacy file may give one name to several bodies: the lowest id is found, whatever moves.
TEST(BaModelEdit, FindsBodiesThatShareAName) {
  const std::pair<void (*)(BaModel&), int> cases[] = {
      {[](BaModel& m) { m.changeBodyId(2, 20); }, 5},
      {[](BaModel& m) { m.changeBodyId(9, 1); }, 1},
      {[](BaModel& m) { m.swapBodyIds(2, 9); }, 2},
      {[](BaModel& m) { m.removeBody(m.findBody(2)); }, 5},
  };
  for (const auto& [edit, found] : cases) {
    LegacyModel model(Body(9, "x", 0) + Body(2, "x", 9) + Body(5, "x", 0));
    edit(model);
    EXPECT_EQ(model.findBody("x")->id(), found);
    EXPECT_TRUE(model.checkInvariants(nullptr));
  }
}

template <class Object>
Object WithId(int id, const char* name) {
  Object object;
  object.setId(id);
  if constexpr (requires { object.setName(name); }) object.setName(name);
  return object;
}

TEST(BaModelEdit, BuildsAModelFromNothing) {
  Bt_GeoObj shape;
  for (const float i : {0.0F, 1.0F, 2.0F, 3.0F}) shape.addVertex({i, i * i, 1});
  shape.addTriangle(0, 1, 2);
  shape.addStrip(std::array{3, 2, 1, 0});
  BaModel model;
  model.addMaterial(WithId<BaMaterial>(7, "skin"));
  model.createBody(8, -1, "hips", Bt4X4FloatMat(), 7, shape);
  model.createBody(3, 8, "head", Bt4X4FloatMat(), 7, Bt_GeoObj());
  model.createBody(2, 8, "leg", Bt4X4FloatMat(), 7, Bt_GeoObj());
  BaMDSliderGroup smile;
  smile.setName("mouth");
  smile.addSlider("smile");
  BaMDSliderGroup frown = smile;
  frown.addSlider("frown");
  model.addSliderGroups({&smile, &frown});

  EXPECT_TRUE(model.checkInvariants(nullptr));

  const TestFolder folder;
  const std::string file = folder.path("edit.mdl");
  model.save(file.c_str());
  EXPECT_EQ(ReadFile(file), ModelText("built.mdl"));
  BaModel again;
  again.read(file.c_str());
  EXPECT_EQ(TakePrinted(), "");
  EXPECT_TRUE(again.checkInvariants(nullptr));
  EXPECT_EQ(Print(FilledDocument(again)), ReadFile(file));

  std::filesystem::remove(file);
  model.changeBodyId(2, 4);
  Bt4X4FloatMat mirrored;
  mirrored(0, 0) = -1;
  model.findBody(4)->setTransform(mirrored);
  model.save(file.c_str());
  EXPECT_TRUE(TakePrinted().find("Unable to convert to zov format v2.0.") != std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(BaModelEdit, CutsPolygonsOfABody) {
  // An arrow whose first corner is the notch, a triangle, and the arrow with texture.
  LegacyModel model(kTree + "F 1 2 4 1 1 0 3 0.5 2 -1 0 4 0 -1 -4 -4 0 -1 4 0 0 -1\n" +
                    Triangle(1, "") +
                    "S P 1 2 4 .1 0 1 1 0 -1 .2 0 0 4 0 -1 .3 0 -4 -4 0 2 .25 -1 .4 0 4 0 0 -1\n" +
                    "F 4 1 4 0 0 0 -1 1 0 0 -1 1 1 0 -1 0 1 0 -1\n");
  const BaPolygon* const triangle = model.polygons()[1].get();
  model.triangulateBody(model.findBody(1));
  EXPECT_TRUE(model.checkInvariants(nullptr));
  EXPECT_EQ(model.findBody(1)->polygons()[1], triangle);
  EXPECT_EQ(Print(model), ModelText("cut-polygons.mdl"));
}

// What comes of polygons that pass a place twice makes a document: no triangle has two corners
// there.
TEST(BaModelEdit, CutsPolygonsThatTouchThemselves) {
  const struct {
    std::vector<std::string> corners;
    std::vector<int> sizes;  // of the polygons afterwards
  } cases[] = {
      {{"0 0 0", "1 0 0", "0 0 0", "0 1 0"}, {4}},
      {{"0 0 0", "1 0 0", "0 0 0", "1 0 0", "0 0 0", "1 0 0"}, {6}},
      {{"0 0 0", "1 0 0", "0 0 0", "1 0 0", "1 1 0"}, {3, 3, 3}},
      {{"0 0 0", "1 0 0", "0 0 0", "1 0 0", "0 1 0", "1 0 0"}, {3, 3}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.corners));
    const std::string count = " 1 1 " + std::to_string(c.corners.size());
    std::string plain = "F" + count;
    std::string textured = "P" + count;
    for (const std::string& corner : c.corners) {
      plain += " " + corner + " -1";
      textured += " 0 0 " + corner + " -1";
    }
    plain += "\n" + textured + "\n";
    LegacyModel model(Body(1, "a", 0) + Material(1, "m") + plain);
    model.triangulateBody(model.findBody(1));
    EXPECT_TRUE(model.checkInvariants(nullptr));
    std::vector<int> sizes;
    for (const auto& polygon : model.polygons()) sizes.push_back(polygon->numVertices());
    EXPECT_EQ(sizes, c.sizes);
    const FilledDocument data(model);
    EXPECT_EQ(TakePrinted(), "");
  }
}

// The body that was hidden by another of its name is found once that one is called otherwise; a
// free object and a copy may be called anything.
TEST(BaModelEdit, NamesAndIdsChangeInTheModel) {
  LegacyModel model(Body(1, "a", 0) + Body(2, "a", 1) + Material(1, "m") + Material(2, "m") +
                    Triangle(2, ""));
  model.renameBody(model.findBody(1), "b");
  model.renameMaterial(model.materialById(1), "n");
  model.changeMaterialId(model.materialById(1), 7);
  EXPECT_TRUE(model.checkInvariants(nullptr));
  EXPECT_EQ(model.findBody("a")->id() * 10 + model.findBody("b")->id(), 21);
  EXPECT_EQ(model.materialByName("m")->id() * 10 + model.materialByName("n")->id(), 27);
  EXPECT_EQ(model.materialById(1), nullptr);
  EXPECT_EQ(model.polygons()[0]->materialId(), 7);
  BaMDSliderGroup mouth;
  mouth.setName("mouth");
  mouth.addSlider("smile");
  model.addSliderGroups({&mouth});
  auto blend = std::make_unique<BaVertexBlendEffect>();
  blend->slider_group = "mouth";
  blend->slider_name = "smile";
  model.polygons()[0]->vertices()[0].effects().add(std::move(blend));
  model.renameSliderGroup(model.findSliderGroup("mouth"), "face");
  EXPECT_EQ(model.findSliderGroup("face"), model.sliderGroups()[0].get());
  EXPECT_TRUE(model.checkInvariants(nullptr));  // the blend has followed
  model.findBody(1)->setName("b");
  BaMaterial copy(*model.materialById(7));
  copy.setId(8);
  copy.setName("o");
  model.addMaterial(copy);
  EXPECT_TRUE(model.checkInvariants(nullptr));
}

// What a caller builds is written as what a file holds.
TEST(BaModelEdit, EveryKindOfElementCanBeBuilt) {
  LegacyModel model(kTree);
  BaFlexiblePolygon polygon(3, 1, 2);
  polygon.setVertices({BaVertex(1, 2, 3), BaVertex(4, 5, 6)}, {7, 8});
  model.addBodyFlexiblePolygon(3, polygon);
  BaTMesh mesh(2, 1);
  mesh.setVertices({BaVertex(1, 2, 3), BaVertex(4, 5, 6)});
  mesh.setSwapFlags({0, 9});
  model.addBodyTMesh(2, mesh);
  BaMuscle muscle;
  muscle.setName("calf");
  muscle.setMaterialId(1);
  for (const int id : {2, 5}) muscle.bodyIds().append(id);
  model.addMuscle(muscle);
  EXPECT_EQ(Print(model), Print(LegacyModel(kTree + "f 3 1 2 2\n7 1 2 3 -1\n8 4 5 6 -1\n"
                                                    "T 2 1 2\n0 1 2 3 -1\n9 4 5 6 -1\n"
                                                    "m 1 calf\n2 5\n")));
}

TEST(BaModelCombine, TakesEverythingOfEverySource) {
  const LegacyModel source(kTree + "G 1 1\n0\nI 2 0\n0\nB 2 1 0 0 0 1 1 1\nT 3 2 1\n0 0 0 0 -1\n" +
                           "t 3 2 1\n0 0 0 0 0 0 -1\n" + Triangle(3, "3 0.5 2") +
                           "P 5 2 1\n0 0 0 0 0 -1\nf 3 1 0 2\nm 1 calf\n2 5\n");
  BaModel both;
  both.beginLoad();
  BaModelCombine combine(&both);
  EXPECT_TRUE(combine.add(source, 0, "") && combine.add(source, 10, "_2") && both.endLoad());
  EXPECT_TRUE(both.checkInvariants(nullptr));
  EXPECT_EQ(Print(both), ModelText("combined.mdl"));
}

// Each row breaks a model behind its back.
TEST(BaModelCheck, FindsFaults) {
  const std::pair<const char*, void (*)(BaModel&)> cases[] = {
      {"Body 3 is listed as a child of body 1 but is none.",
       [](BaModel& m) { m.findBody(3)->setParentId(2); }},
      {"Body 5 is listed as a child of body 2 but is none.",
       [](BaModel& m) { m.findBody(5)->setParent(m.findBody(1)); }},
      {"The children of body 1 are not in the order of ids.",
       [](BaModel& m) { m.findBody(1)->appendChild(m.findBody(2)); }},
      {"4 of 6 bodies hang under the reference body.",
       [](BaModel& m) { m.findBody(1)->removeChild(m.findBody(2)); }},
      {"A polygon is on body 77, which does not exist.",
       [](BaModel& m) { m.polygons()[0]->setBodyId(77); }},
      {"A polygon uses material 77, which does not exist.",
       [](BaModel& m) { m.polygons()[0]->setMaterialId(77); }},
      {"A polygon is not in its place on body 4.",
       [](BaModel& m) { m.polygons()[0]->setBodyId(4); }},
      {"Body 2 lists a bone that is not the model's.",
       [](BaModel& m) { m.findBody(2)->add(static_cast<BaBone*>(nullptr)); }},
      {"A textured polygon lacks values of vertices.",
       [](BaModel& m) { m.texturedPolygons()[0]->BaPolygon::setVertices({}); }},
      {"A textured triangle mesh lacks values of vertices.",
       [](BaModel& m) { m.texturedTMeshes()[0]->BaTMesh::setVertices({}); }},
      {"A polygon on body 2 repeats a vertex.",
       [](BaModel& m) {
         BtArray<BaVertex>& vertices = m.polygons()[0]->vertices();
         vertices.last() = vertices[0];
       }},
      {"A vertex of a polygon on body 2 follows one body twice.",
       [](BaModel& m) {
         Ba_VertexEffect* const first = m.polygons()[0]->vertices()[0].effects().first();
         static_cast<BaVertexFlex2Effect*>(first)->body_id = 3;
       }},
      {"A vertex is moved by slider \"smile\" of group \"mouth\", which does not exist.",
       [](BaModel& m) {
         auto blend = std::make_unique<BaVertexBlendEffect>();
         blend->slider_group = "mouth";
         blend->slider_name = "smile";
         BaMDSliderGroup mouth;
         mouth.setName("mouth");
         m.addSliderGroups({&mouth});
         m.texturedTMeshes()[0]->vertices()[0].effects().add(std::move(blend));
       }},
      {"A vertex of a polygon on body 2 follows body 77, which does not exist.",
       [](BaModel& m) { m.polygons()[0]->changeFlex2BodyId(1, 77); }},
  };
  for (const auto& [message, damage] : cases) {
    LegacyModel model(kTree + Triangle(2, "3 0.5 1 3 0.5 3") +
                      "P 1 2 1 0 0 0 0 0 -1\nt 1 2 1 0 0 0 0 0 0 -1\n");
    BtStr fault;
    ASSERT_TRUE(model.checkInvariants(&fault)) << fault;
    damage(model);
    EXPECT_FALSE(model.checkInvariants(&fault)) << message;
    EXPECT_EQ(fault, message);
  }
}

template <class Object>
Object WithIds(int body_id, int material_id) {
  Object object;
  object.setBodyId(body_id);
  object.setMaterialId(material_id);
  return object;
}

BaModel& Tree() {
  static LegacyModel model(kTree + "G 1 1\n0\nI 1 0\n0\nF 4 1 1 0 0 0 -1\n");
  return model;
}

void AddBody(int id, const char* name, int parent_id) {
  BaBody body;
  body.setId(id);
  body.setName(name);
  body.setParentId(parent_id);
  Tree().addBody(body);
}

TEST(BaModelEditDeathTest, RefusesMisuse) {
  static const BtMap<int, int> two_to_one = {{1, 9}, {2, 9}};
  static const BtMap<int, int> none_to_one = {{8, 9}};
  static BaBody stranger;
  stranger.setId(1);
  static BaPolygon blended = *Tree().polygons()[0];
  blended.vertices()[0].effects().add(std::make_unique<BaVertexBlendEffect>());
  ExpectDeaths({{"Name: chest", [] { AddBody(12, "chest", 0); }}});
  ExpectAssertions({
      {"c_body.id()>=0", [] { AddBody(-1, "new", 0); }},
      {"_bodies[new_body->id()]==(BaBody *)0", [] { AddBody(3, "new", 0); }},
      {"findBody(c_body.parentId())", [] { AddBody(12, "new", 11); }},
      {"new_id>0", [] { Tree().changeBodyId(Tree().findBody(1), 0); }},
      {"new_id>=0", [] { Tree().changeBodyId(1, -1); }},
      {"body->id()!=new_id", [] { Tree().changeBodyId(1, 1); }},
      {"!findBody(new_id)", [] { Tree().changeBodyId(1, 2); }},
      {"!findBody(new_id)", [] { Tree().changeBodyIds(two_to_one); }},
      {"findBody(old_id)", [] { Tree().changeBodyIds(none_to_one); }},
      {"body->id()>0", [] { Tree().changeBodyId(0, 9); }},
      {"body", [] { Tree().changeBodyId(8, 9); }},
      {"findBody(id2)", [] { Tree().swapBodyIds(1, 8); }},
      {"body_id>0", [] { Tree().removeBody(Tree().findBody(0)); }},
      {"_bodies[body_id]==body", [] { Tree().removeBody(&stranger); }},
      {"_bodies[body->id()]==body", [] { Tree().renameBody(&stranger, "new"); }},
      {"body->id()>0", [] { Tree().renameBody(Tree().findBody(0), "new"); }},
      {"!findBody(name)", [] { Tree().renameBody(Tree().findBody(1), "chest"); }},
      {"!name.isNull()", [] { Tree().renameBody(Tree().findBody(1), BtStr()); }},
      {"materialByName(name)==0", [] { Tree().renameMaterial(Tree().materialById(1), "cloth"); }},
      {"materialById(new_id)==0", [] { Tree().changeMaterialId(Tree().materialById(1), 2); }},
      {"!isOwned()", [] { Tree().findBody(5)->setId(6); }},
      {"!isOwned()", [] { Tree().materialById(2)->setName("new"); }},
      {"materialByName(material.name())==0",
       [] { Tree().addMaterial(WithId<BaMaterial>(9, "skin")); }},
      {"materialById(material.id())==0", [] { Tree().addMaterial(WithId<BaMaterial>(1, "new")); }},
      {"!duplicate_light_id", [] { Tree().addLight(WithId<BaLight>(1, "")); }},
      {"!duplicate_lmodel_id", [] { Tree().addLightingModel(WithId<BaLightingModel>(1, "")); }},
      {"findBody(body_id)", [] { Tree().addBone(WithIds<BaBone>(9, 1)); }},
      {"polygon.bodyId()==body_id", [] { Tree().addBodyPolygon(1, WithIds<BaPolygon>(2, 1)); }},
      {"findSliderGroup(blend->slider_group)", [] { Tree().addBodyPolygon(4, blended); }},
      {"materialById(material_id)", [] { Tree().addBodyTMeshes(1, 9, Bt_GeoObj()); }},
      {"polygon->numVertices()>=3", [] { Tree().triangulateBody(Tree().findBody(4)); }},
  });
}

}  // namespace
