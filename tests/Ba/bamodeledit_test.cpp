// Edits one by one: what follows a body, what goes with it, what is refused.

#include <gtest/gtest.h>

#include <unistd.h>
#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include "Ba/modeltexts.h"
#include "Bt/deathcases.h"
#include "bamodelcombine.h"
#include "btgeoobj.h"

namespace {

// 1 - 2 - 5 and 1 - 3; 4 beside 1. Body 2 is moved and turned by a quarter, 5 is moved.
const std::string kTree = Body(1, "hips", 0) + Body(2, "thigh", 1, "0 1 0 -1 0 0 0 0 1 1 2 3\n") +
                          Body(3, "chest", 1) + Body(4, "prop", 0) +
                          Body(5, "shin", 2, "1 0 0 0 1 0 0 0 1 10 20 30\n") + Material(1, "skin") +
                          Material(2, "cloth");

std::string Triangle(int body_id, const std::string& effects) {
  return "F " + std::to_string(body_id) + " 1 3 0 0 0 " + effects + " -1 1 0 0 -1 0 1 0 -1\n";
}

// The bodies depth first, as "id name<parent id", and the first vertices, flexible polygons and
// muscles, as the writer has them.
std::string Outline(const BaModel& model) {
  std::string text;
  for (const auto& body : model.bodies()) {
    if (body == nullptr || body->id() == 0) continue;
    text += std::to_string(body->id());
    text += body->name().view();
    text += "<" + std::to_string(body->parentId()) + " ";
  }
  std::ostringstream os;
  for (const auto& polygon : model.polygons()) {
    os << "| " << polygon->bodyId() << ":";
    os << Print(polygon->vertices()[0]);
  }
  for (const auto& polygon : model.flexiblePolygons()) {
    os << "| f" << polygon->bodyId() << "-" << polygon->otherBodyId();
  }
  for (const auto& muscle : model.muscles()) {
    os << "| m";
    for (const int id : muscle->bodyIds()) os << " " << id;
  }
  return text + os.str();
}

TEST(BaModelEdit, LetsEverythingFollowTheBody) {
  const struct {
    void (*edit)(BaModel& model);
    const char* outline;
  } cases[] = {
      {[](BaModel& m) { m.changeBodyId(2, 9); },
       "1hips<0 3chest<1 4prop<0 5shin<9 9thigh<1 | 9: 0 0 0 -1| 3: 0 0 0 3 0.5 9 3 0.25 5 -1"
       "| f3-9| f5-4| m 9 5| m 9"},
      {[](BaModel& m) { m.swapBodyIds(2, 5); },
       "1hips<0 2shin<5 3chest<1 4prop<0 5thigh<1 | 5: 0 0 0 -1| 3: 0 0 0 3 0.5 5 3 0.25 2 -1"
       "| f3-5| f2-4| m 5 2| m 5"},
      {[](BaModel& m) { m.swapBodyIds(3, 4); },
       "1hips<0 2thigh<1 3prop<0 4chest<1 5shin<2 | 2: 0 0 0 -1| 4: 0 0 0 3 0.5 2 3 0.25 5 -1"
       "| f4-2| f5-3| m 2 5| m 2"},
      {[](BaModel& m) {
         m.changeBodyIds({{2, 5}, {5, 3}, {3, 2}, {1, 9}});
       },
       "2chest<9 3shin<5 4prop<0 5thigh<9 9hips<0 | 5: 0 0 0 -1| 2: 0 0 0 3 0.5 5 3 0.25 3 -1"
       "| f2-5| f3-4| m 5 3| m 5"},
      // Weight, children and muscles pass to the parent; flexible polygons on either side go.
      {[](BaModel& m) { m.removeBody(m.findBody(2)); },
       "1hips<0 3chest<1 4prop<0 5shin<1 | 3: 0 0 0 3 0.5 1 3 0.25 5 -1| f5-4| m 5"},
      {[](BaModel& m) { m.removeBody(m.findBody(5)); },
       "1hips<0 2thigh<1 3chest<1 4prop<0 | 2: 0 0 0 -1| 3: 0 0 0 3 0.75 2 -1| f3-2| m 2| m 2"},
      {[](BaModel& m) { m.removeBody(m.findBody(4)); },
       "1hips<0 2thigh<1 3chest<1 5shin<2 | 2: 0 0 0 -1| 3: 0 0 0 3 0.5 2 3 0.25 5 -1"
       "| f3-2| m 2 5| m 2"},
  };
  for (const auto& c : cases) {
    LegacyModel model(kTree + Triangle(2, "") + Triangle(3, "3 0.5 2 3 0.25 5") +
                      "f 3 1 0 2\nf 5 1 0 4\nm 1 a\n2 5\nm 1 b\n2\n");
    c.edit(model);
    EXPECT_EQ(Outline(model), c.outline);
    BtStr fault;
    EXPECT_TRUE(model.checkInvariants(&fault)) << fault;
  }
}

// Where the parent of a removed body is the world or the vertex's own body, nothing is followed.
TEST(BaModelEdit, GivesWeightBackWhereNothingInherits) {
  const struct {
    int removed;
    const char* effects;
    const char* left;
  } cases[] = {
      {1, "2 0.5", ""},
      {1, "2 0.5 3 0.25 1 3 0.125 4", " 3 0.125 4"},
      {2, "2 0.5 3 0.25 2", " 2 0.5 3 0.25 1"},
      {4, "2 0.5 3 0.25 4", " 2 0.5"},
  };
  for (const auto& c : cases) {
    LegacyModel model(kTree + Triangle(3, c.effects) + Triangle(1, "3 0.5 2"));
    model.removeBody(model.findBody(c.removed));
    EXPECT_EQ(Print(model.polygons()[0]->vertices()[0]), std::string(" 0 0 0") + c.left + " -1")
        << c.removed << c.effects;
    if (c.removed == 2) {
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

TEST(BaModelEdit, RenumbersWholeCharactersAtOnce) {
  constexpr int kBodies = 100000;
  BaModel model;
  BtMap<int, int> reversed;
  for (int id = 1; id <= kBodies; ++id) {
    BaBody body;
    body.setId(id);
    body.setName(BtFormat("b%d", id));
    model.addBody(body);
    reversed.insert(id, kBodies + 1 - id);
  }
  model.changeBodyIds(reversed);
  EXPECT_EQ(model.findBody(1)->name(), "b100000");
  EXPECT_TRUE(model.checkInvariants(nullptr));
}

TEST(BaModelEdit, KeepsChildrenInPlaceWhenTheirParentGoes) {
  LegacyModel model(kTree);
  const Bt4X4FloatMat before = model.findBody(5)->transform() * model.findBody(2)->transform();
  model.removeBody(model.findBody(2));
  EXPECT_EQ(model.findBody(5)->transform(), before);
  EXPECT_EQ(BtCoordSystem(before).origin(), (std::array<float, 3>{1 - 20, 2 + 10, 33}));
  EXPECT_EQ(model.findBody("thigh"), nullptr);
  EXPECT_EQ(model.findBody(2), nullptr);
}

// A legacy file may give one name to several bodies: the lowest id is found, whatever moves.
TEST(BaModelEdit, FindsBodiesThatShareAName) {
  const struct {
    void (*edit)(BaModel& model);
    int found;
  } cases[] = {
      {[](BaModel& m) { m.changeBodyId(2, 20); }, 5},
      {[](BaModel& m) { m.changeBodyId(9, 1); }, 1},
      {[](BaModel& m) { m.swapBodyIds(2, 9); }, 2},
      {[](BaModel& m) { m.removeBody(m.findBody(2)); }, 5},
  };
  for (const auto& c : cases) {
    LegacyModel model(Body(9, "x", 0) + Body(2, "x", 9) + Body(5, "x", 0));
    c.edit(model);
    EXPECT_EQ(model.findBody("x")->id(), c.found);
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
  EXPECT_EQ(Outline(model), "2leg<8 3head<8 8hips<0 ");
  EXPECT_EQ(model.findBody(8)->child(0)->id(), 2);
  ASSERT_EQ(model.tMeshes().size(), 2);
  EXPECT_EQ(model.tMeshes()[1]->vertices()[0], BaVertex(3, 9, 1));
  EXPECT_EQ(model.findBody(8)->tMeshes()[1], model.tMeshes()[1].get());
  ASSERT_EQ(model.sliderGroups().count(), 1);
  EXPECT_EQ(model.findSliderGroup("mouth")->sliders(), (BtList<BtStr>{"smile", "frown"}));

  const std::string file = testing::TempDir() + "edit" + std::to_string(getpid()) + ".mdl";
  model.save(file.c_str());
  BaModel again;
  again.read(file.c_str());
  EXPECT_EQ(TakePrinted(), "");
  EXPECT_EQ(std::remove(file.c_str()), 0);
  EXPECT_EQ(again.version(), 2.0F);
  EXPECT_TRUE(again.checkInvariants(nullptr));
  EXPECT_EQ(Outline(again).substr(0, 23), Outline(model));
  EXPECT_EQ(again.findSliderGroup("mouth")->sliders().count(), 2);

  model.changeBodyId(2, 4);
  Bt4X4FloatMat mirrored;
  mirrored(0, 0) = -1;
  model.findBody(4)->setTransform(mirrored);
  model.save(file.c_str());
  EXPECT_TRUE(TakePrinted().find("Unable to convert to zov format v2.0.") != std::string::npos);
  EXPECT_NE(access(file.c_str(), F_OK), 0);
}

TEST(BaModelEdit, CutsPolygonsOfABody) {
  // An arrow whose first corner is the notch, a triangle, and the arrow with texture.
  LegacyModel model(kTree + "F 1 2 4 1 1 0 3 0.5 2 -1 0 4 0 -1 -4 -4 0 -1 4 0 0 -1\n" +
                    Triangle(1, "") +
                    "S P 1 2 4 .1 0 1 1 0 -1 .2 0 0 4 0 -1 .3 0 -4 -4 0 2 .25 -1 .4 0 4 0 0 -1\n" +
                    "F 4 1 4 0 0 0 -1 1 0 0 -1 1 1 0 -1 0 1 0 -1\n");
  const BaPolygon* const triangle = model.polygons()[1].get();
  model.triangulateBody(model.findBody(1));
  BtStr fault;
  EXPECT_TRUE(model.checkInvariants(&fault)) << fault;
  EXPECT_EQ(model.findBody(1)->polygons()[1], triangle);
  ASSERT_EQ(model.findBody(1)->polygons().size(), 3);
  ASSERT_EQ(model.findBody(1)->texturedPolygons().size(), 2);
  EXPECT_EQ(model.findBody(4)->polygons()[0]->numVertices(), 4);
  int n_followers = 0;
  for (const int i : {0, 2}) {
    const BaPolygon& part = *model.findBody(1)->polygons()[i];
    EXPECT_EQ(part.materialId(), 2);
    EXPECT_TRUE(part.frontFacing());
    for (const BaVertex& vertex : part.vertices()) n_followers += vertex.effects().count();
  }
  EXPECT_EQ(n_followers, 2);  // the notch is a corner of both
  for (const BaTexturedPolygon* part : model.findBody(1)->texturedPolygons()) {
    EXPECT_EQ(part->sFlag(), 1);
    for (int i = 0; i < 3; ++i) {
      const float* p = part->vertices()[i].position();
      const float u = p[0] == 1 ? 0.1F : p[1] == 4 ? 0.2F : p[0] == -4 ? 0.3F : 0.4F;
      EXPECT_EQ(part->textureCoords()[i], (BaTextureCoords{u, 0}));
      EXPECT_EQ(part->vertices()[i].effects().count(), p[0] == -4 ? 1 : 0);
    }
  }
}

TEST(BaModelCombine, TakesEverythingOfEverySource) {
  const LegacyModel source(kTree + "G 1 1\n0\nI 2 0\n0\nB 2 1 0 0 0 1 1 1\nT 3 2 1\n0 0 0 0 -1\n" +
                           "t 3 2 1\n0 0 0 0 0 0 -1\n" + Triangle(3, "3 0.5 2") +
                           "P 5 2 1\n0 0 0 0 0 -1\nf 3 1 0 2\nm 1 calf\n2 5\n");
  BaModel both;
  both.beginLoad();
  BaModelCombine combine(&both);
  EXPECT_TRUE(combine.add(source, 0, "") && combine.add(source, 10, "_2") && both.endLoad());
  BtStr fault;
  EXPECT_TRUE(both.checkInvariants(&fault)) << fault;
  EXPECT_EQ(Outline(both),
            "1hips<0 2thigh<1 3chest<1 4prop<0 5shin<2 "
            "11hips_2<0 12thigh_2<11 13chest_2<11 14prop_2<0 15shin_2<12 "
            "| 3: 0 0 0 3 0.5 2 -1| 13: 0 0 0 3 0.5 12 -1| f3-2| f13-12| m 2 5| m 12 15");
  EXPECT_EQ(both.lights()[1]->id(), 3);
  EXPECT_EQ(both.lightingModels()[1]->id(), 2);
  EXPECT_EQ(both.materials().count(), 2);
  // As often as in the source, line by line, but for the header.
  const auto lines = [](const BaModel& model) {
    const std::string text = Print(model);
    return std::count(text.begin(), text.end(), '\n') - 2;
  };
  EXPECT_EQ(lines(both), 2 * lines(source) - 6);  // two materials of three lines
}

// Each row breaks a model behind its back.
TEST(BaModelCheck, FindsFaults) {
  const struct {
    const char* fault;
    void (*damage)(BaModel& model);
  } cases[] = {
      {"Body 6 stands in slot 5.", [](BaModel& m) { m.findBody(5)->setId(6); }},
      {"Body 5 is not found by its name.", [](BaModel& m) { m.findBody(5)->setName("new"); }},
      {"Body 3 is listed as a child of body 1 but is none.",
       [](BaModel& m) { m.findBody(3)->setParentId(2); }},
      {"Body 5 is listed as a child of body 2 but is none.",
       [](BaModel& m) { m.findBody(5)->setParent(m.findBody(1)); }},
      {"The children of body 1 are not in the order of ids.",
       [](BaModel& m) { m.findBody(1)->appendChild(m.findBody(2)); }},
      {"4 of 6 bodies hang under the reference body.",
       [](BaModel& m) { m.findBody(1)->removeChild(m.findBody(2)); }},
      {"Material 2 is not found by its name.",
       [](BaModel& m) { m.materialById(2)->setName("new"); }},
      {"Material 3 is not found by its id.", [](BaModel& m) { m.materialById(2)->setId(3); }},
      {"A slider group is not found by its name.",
       [](BaModel& m) { m.addSliderGroup(std::make_unique<BaMDSliderGroup>())->setName("new"); }},
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
  for (const auto& c : cases) {
    LegacyModel model(kTree + Triangle(2, "3 0.5 1 3 0.5 3") +
                      "P 1 2 1 0 0 0 0 0 -1\nt 1 2 1 0 0 0 0 0 0 -1\n");
    BtStr fault;
    ASSERT_TRUE(model.checkInvariants(&fault)) << fault;
    c.damage(model);
    EXPECT_FALSE(model.checkInvariants(&fault)) << c.fault;
    EXPECT_EQ(fault, c.fault);
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
  ExpectDeaths({
      {ASSERTION("c_body.id()>=0"), [] { AddBody(-1, "new", 0); }},
      {ASSERTION("_bodies[new_body->id()]==(BaBody *)0"), [] { AddBody(3, "new", 0); }},
      {"Name: chest", [] { AddBody(12, "chest", 0); }},
      {ASSERTION("!findBody(c_body.name())"), [] { AddBody(12, "chest", 0); }},
      {ASSERTION("findBody(c_body.parentId())"), [] { AddBody(12, "new", 11); }},
      {ASSERTION("new_id>0"), [] { Tree().changeBodyId(Tree().findBody(1), 0); }},
      {ASSERTION("new_id>=0"), [] { Tree().changeBodyId(1, -1); }},
      {ASSERTION("body->id()!=new_id"), [] { Tree().changeBodyId(1, 1); }},
      {ASSERTION("!findBody(new_id)"), [] { Tree().changeBodyId(1, 2); }},
      {ASSERTION("!findBody(new_id)"), [] { Tree().changeBodyIds(two_to_one); }},
      {ASSERTION("findBody(old_id)"), [] { Tree().changeBodyIds(none_to_one); }},
      {ASSERTION("body->id()>0"), [] { Tree().changeBodyId(0, 9); }},
      {ASSERTION("body"), [] { Tree().changeBodyId(8, 9); }},
      {ASSERTION("findBody(id2)"), [] { Tree().swapBodyIds(1, 8); }},
      {ASSERTION("body_id>0"), [] { Tree().removeBody(Tree().findBody(0)); }},
      {ASSERTION("_bodies[body_id]==body"), [] { Tree().removeBody(&stranger); }},
      {ASSERTION("materialByName(material.name())==0"),
       [] { Tree().addMaterial(WithId<BaMaterial>(9, "skin")); }},
      {ASSERTION("materialById(material.id())==0"),
       [] { Tree().addMaterial(WithId<BaMaterial>(1, "new")); }},
      {ASSERTION("!duplicate_light_id"), [] { Tree().addLight(WithId<BaLight>(1, "")); }},
      {ASSERTION("!duplicate_lmodel_id"),
       [] { Tree().addLightingModel(WithId<BaLightingModel>(1, "")); }},
      {ASSERTION("findBody(body_id)"), [] { Tree().addBone(WithIds<BaBone>(9, 1)); }},
      {ASSERTION("polygon.bodyId()==body_id"),
       [] { Tree().addBodyPolygon(1, WithIds<BaPolygon>(2, 1)); }},
      {ASSERTION("findSliderGroup(blend->slider_group)"),
       [] { Tree().addBodyPolygon(4, blended); }},
      {ASSERTION("materialById(material_id)"), [] { Tree().addBodyTMeshes(1, 9, Bt_GeoObj()); }},
      {ASSERTION("polygon->numVertices()>=3"), [] { Tree().triangulateBody(Tree().findBody(4)); }},
      {ASSERTION("!BtError()"),
       [] {
         theExceptObj.set("x");
         Tree().save("x");
       }},
  });
}

}  // namespace
