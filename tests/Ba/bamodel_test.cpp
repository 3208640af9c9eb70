// The model itself: lookups, questions, edits, ownership, size.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Bt/deathcases.h"
#include "balegacytestutil.h"
#include "btset.h"

namespace {

std::string Body(const std::string& name, int id, int parent) {
  return "X\n" + name + "\n" + std::to_string(id) + "\n\n" + std::to_string(parent) +
         "\n1 0 0 0 1 0 0 0 1 0 0 0\n";
}

std::string Material(int id) {
  return "M " + std::to_string(id) + " m" + std::to_string(id) + "\n0\n";
}

const std::string kHead = "Zov Graphic Model File\nv1.30\n";

// The ids of materials as a text.
template <class Materials>
std::string Ids(const Materials& materials) {
  std::string ids;
  for (const auto& material : materials) ids += std::to_string(material->id()) + " ";
  return ids;
}

TEST(BaModel, IsEmptyWhenNew) {
  const BaModel model;
  EXPECT_EQ(model.version(), 0.0F);
  EXPECT_EQ(model.bodies().size(), 0);
  EXPECT_EQ(model.lengthUnits(), (BaUnits{"INCHES", 1.0F}));
  EXPECT_EQ(model.angleUnits(), (BaUnits{"RADIANS", 1.0F}));
  EXPECT_TRUE(model.combineVertexNormals());
  BtList<BaBody*> ends;
  model.getEndBodies(&ends);
  EXPECT_TRUE(ends.empty());
}

TEST(BaModel, FindsBodiesAndMaterials) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kHead + Body("b", 60, 2) + Body("a", 2, 0) + Body("b", 5, 2) +
                                 "M 9 m\n0\nM -4 m\n0\n"),
            "");
  for (const int id : {-1, 1, 59, 61, 2147483647}) EXPECT_EQ(model.findBody(id), nullptr) << id;
  EXPECT_EQ(model.findBody(60)->name(), "b");
  EXPECT_EQ(model.findBody("b")->id(), 5);
  EXPECT_EQ(model.findBody("c"), nullptr);
  EXPECT_EQ(model.findBody(BaModel::kReferenceBodyName)->id(), 0);
  EXPECT_EQ(model.materialById(-4)->name(), "m");
  EXPECT_EQ(model.materialByName("m")->id(), 9);
  EXPECT_EQ(model.materialById(4), nullptr);
  EXPECT_EQ(model.bodies().size(), 61);

  // Children in the order of their ids, whatever the order of the file.
  const BaBody* const a = model.findBody(2);
  ASSERT_EQ(a->numChildren(), 2);
  EXPECT_EQ(a->child(0)->id(), 5);
  EXPECT_EQ(a->child(1)->id(), 60);
  EXPECT_EQ(a->parent(), model.findBody(0));
  EXPECT_TRUE(a->child(1)->isDescendantOf(model.findBody(0)));
  EXPECT_FALSE(a->isDescendantOf(a));

  BtSet<BtStr> names;
  model.getBodyNames(&names);
  EXPECT_EQ(names, (BtSet<BtStr>{"a", "b"}));
}

TEST(BaModel, AnswersQuestionsAboutTheWhole) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kHead + Body("a", 1, 0) + Body("b", 2, 1) + Body("c", 3, 1) +
                                 Body("d", 4, 0) + Material(1) +
                                 "M 2 m\n100 1 'x.png' -1 0\nM 3 m\n100 1 'y.png' -1 0\n" +
                                 "P 1 3 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1\n"
                                 "F 1 2 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\nB 1 3 0 0 0 1 1 1\n"
                                 "T 2 1 2 0 0 0 0 -1 0 0 0 0 -1\nt 2 1 1 0 0 0 0 0 0 -1\n"
                                 "f 1 2 1 2 0 5 0 0 -1\n"),
            "");
  BtList<BaBody*> ends;
  model.getEndBodies(&ends);
  std::string end_names;
  for (const BaBody* body : ends) end_names += body->name();
  EXPECT_EQ(end_names, "bcd");

  const std::string used_by[] = {"", "3 2 ", "1 ", ""};
  for (int id = 1; id <= 3; ++id) {
    BtList<BaMaterial*> used;
    model.getUsedMaterials(&used, id);
    EXPECT_EQ(Ids(used), used_by[id]) << id;
  }
  EXPECT_DEATH(
      {
        BtList<BaMaterial*> used;
        model.getUsedMaterials(&used, 5);
      },
      "body");

  BtList<BtStr> file_names;
  model.getTextureFileNames(&file_names);
  EXPECT_EQ(file_names, (BtList<BtStr>{"x.png", "y.png"}));

  BtDArray<BaVertex*> vertices;
  model.getVertices(&vertices);
  EXPECT_EQ(vertices.size(), 3 + 3 + 2 + 1 + 1);
  EXPECT_EQ(vertices.last(), &model.flexiblePolygons()[0]->vertices()[0]);
}

TEST(BaModel, RemovesBones) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kBasicModel + "B 1 1 0 0 0 1 1 1 B 1 1 0 0 0 2 2 2\n"), "");
  ASSERT_EQ(model.findBody(1)->bones().size(), 2);
  model.removeBones();
  EXPECT_TRUE(model.bones().empty());
  EXPECT_TRUE(model.findBody(1)->bones().empty());
  EXPECT_NO_FATAL_FAILURE(model.findBody(1)->preAddElements());
}

TEST(BaModel, RemovesUnusedMaterials) {
  const std::string triangle = " 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
  const struct {
    std::string materials;
    std::string elements;
    bool renumber;
    const char* kept;  // material ids afterwards
    const char* elements_use;
  } cases[] = {
      {Material(3) + Material(5) + Material(9), "F 1 3" + triangle + "F 1 9" + triangle, false,
       "3 9 ", "3 9 "},
      {Material(3) + Material(5) + Material(9), "F 1 9" + triangle + "F 1 3" + triangle, true,
       "1 2 ", "2 1 "},
      // Each kind of element keeps its material.
      {Material(3), "B 1 3 0 0 0 1 1 1\n", true, "1 ", ""},
      {Material(3), "T 1 3 0\n", true, "1 ", ""},
      {Material(3), "t 1 3 0\n", true, "1 ", ""},
      {Material(3), "f 1 3 0 1\n", false, "3 ", ""},
      {Material(3), "m 3 x\n\n", true, "1 ", ""},
      {Material(3), "", true, "", ""},
      // Ids that are small already stay, and no two materials become one.
      {Material(1) + Material(2), "F 1 2" + triangle, true, "1 ", "1 "},
      {Material(-3) + Material(7), "F 1 7" + triangle + "F 1 -3" + triangle, true, "-3 2 ",
       "2 -3 "},
      {Material(5) + Material(1), "F 1 5" + triangle + "F 1 1" + triangle, true, "5 1 ", "5 1 "},
  };
  for (const auto& c : cases) {
    BaModel model;
    ASSERT_EQ(ScanInto(&model, kHead + Body("b", 1, 0) + c.materials + c.elements), "");
    model.removeUnusedMaterials(c.renumber);
    EXPECT_EQ(Ids(model.materials()), c.kept) << c.materials << c.elements;
    std::string used;
    for (const auto& polygon : model.polygons())
      used += std::to_string(polygon->materialId()) + " ";
    EXPECT_EQ(used, c.elements_use);
    for (const auto& material : model.materials()) {
      EXPECT_EQ(model.materialById(material->id()), material.get());
    }
    EXPECT_EQ(model.materialById(5) != nullptr, std::string(c.kept).starts_with("5"));
  }
  BaModel flexible;
  ASSERT_EQ(ScanInto(&flexible, kBasicModel + "f 1 1 0 1\n"), "");
  EXPECT_DEATH(flexible.removeUnusedMaterials(true), "_flexible_polygons.size\\(\\)==0");
}

TEST(BaModel, ReplacesItsContentWhenItReads) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kBasicModel + "B 1 1 0 0 0 1 1 1\n"), "");
  model.setCombineVertexNormals(false);
  ASSERT_EQ(ScanInto(&model, kHead), "");
  EXPECT_EQ(model.bodies().size(), 1);
  EXPECT_TRUE(model.materials().empty() && model.bones().empty() && model.combineVertexNormals());
  EXPECT_EQ(model.findBody("body"), nullptr);
  EXPECT_EQ(model.materialById(1), nullptr);
  std::istringstream is("");
  EXPECT_DEATH(model.rawScanFrom(is), "_bodies.size\\(\\)==0");
}

// A chain of bodies, the leaf first in the file: nothing may recurse along it.
TEST(BaModel, HoldsLongChains) {
  constexpr int kBodies = 100000;
  std::string text = kHead;
  for (int id = kBodies; id > 0; --id) text += Body("b" + std::to_string(id), id, id - 1);
  BaModel model;
  ASSERT_EQ(ScanInto(&model, text), "");
  EXPECT_TRUE(model.findBody(kBodies)->isDescendantOf(model.findBody(1)));
  BtList<BaBody*> ends;
  model.getEndBodies(&ends);
  ASSERT_EQ(ends.count(), 1);
  EXPECT_EQ(ends.last()->id(), kBodies);
  BaModel again;
  EXPECT_EQ(ScanInto(&again, Printed(model)), "");
  EXPECT_EQ(again.bodies().size(), kBodies + 1);
}

TEST(BaVertex, OwnsItsEffects) {
  BaVertex vertex(1, 2, 3);
  vertex.effects().add(std::make_unique<BaVertexFlex2Effect>(0.25F, 7));
  vertex.effects().add(std::make_unique<BaVertexFlexEffect>(0.5F));
  {
    BaVertex copy(vertex);
    copy.effects().changeFlex2BodyId(7, 8);
    copy = vertex;
    copy.effects().clear();
  }
  std::ostringstream os;
  vertex.printOn(os);
  EXPECT_EQ(os.str(), " 1 2 3 3 0.25 7 2 0.5 -1");
  EXPECT_EQ(vertex, BaVertex(1, 2, 3));
  EXPECT_EQ(BaVertex(0, 0, 0), BaVertex(-0.0F, 0, 0));
}

TEST(BaVertex, KeepsOneFlex2EffectForABody) {
  const struct {
    int old_id, new_id;
    const char* effects;
  } cases[] = {
      {1, 5, " 3 0.25 5 2 1 3 0.5 2"}, {1, 2, " 2 1 3 0.75 2"},         {2, 1, " 3 0.75 1 2 1"},
      {2, 2, " 3 0.25 1 2 1 3 0.5 2"}, {9, 1, " 3 0.25 1 2 1 3 0.5 2"},
  };
  for (const auto& c : cases) {
    BaPolygon polygon(1, 1);
    std::istringstream is("1 1 1 0 0 0 3 .25 1 2 1 3 .5 2 -1");
    ASSERT_TRUE(polygon.scanFrom(is));
    theExceptObj.clear();
    polygon.changeFlex2BodyId(c.old_id, c.new_id);
    std::ostringstream os;
    polygon.vertices()[0].printOn(os);
    EXPECT_EQ(os.str(), std::string(" 0 0 0") + c.effects + " -1") << c.old_id << c.new_id;
  }
}

TEST(BaPolygon, TellsWhereItFaces) {
  const struct {
    const char* vertices;
    bool front;
  } cases[] = {
      {"1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1", true},
      {"1 1 3 0 1 0 -1 1 0 0 -1 0 0 0 -1", false},
      {"1 1 5 2 0 0 -1 2 2 0 -1 1 0.5 0 -1 0 2 0 -1 0 0 0 -1", true},  // a notch
  };
  for (const auto& c : cases) {
    BaPolygon polygon;
    std::istringstream is(c.vertices);
    ASSERT_TRUE(polygon.scanFrom(is));
    EXPECT_EQ(polygon.frontFacing(), c.front) << c.vertices;
  }
}

TEST(BaMaterial, HoldsOneAttributeOfAKind) {
  BaMaterial material;
  std::istringstream is("1 m\n3 1 2 3\n5 7\n3 4 5 6\n100 1 'a' -1 100 1 'b' -1\n0");
  material.setVersion(1.1F);
  ASSERT_TRUE(material.scanFrom(is));
  EXPECT_EQ(material.attributes().count(), 2);
  EXPECT_EQ(material.textures().size(), 1U);
  const BaMaterial copy(material);
  material.addDiffuseAttribute()->setRGB(0, 0, 0);
  EXPECT_EQ(copy.attribute(Ba_MatAttr_t::Diffuse)->values()[0], 4.0F);
  EXPECT_EQ(copy.attribute(Ba_MatAttr_t::Alpha), nullptr);
  EXPECT_EQ(copy.texture().fileName(), "b");
}

TEST(BaModelDeathTest, StopsOnMisuse) {
  ExpectDeaths({
      {ASSERTION("kind!=Shininess && kind!=Alpha"),
       [] { Ba_MatRGBAttr attr(Ba_MatAttr_t::Alpha); }},
      {ASSERTION("kind==Shininess || kind==Alpha"),
       [] { Ba_MatFAttr attr(Ba_MatAttr_t::Diffuse); }},
      {ASSERTION("psf>0.0f"), [] { BaBody().setPostScaleFactor(0); }},
      {ASSERTION("tc.size()==_n_vertices"),
       [] {
         BaTexturedPolygon().setVertices(BtDArray<BaVertex>(3), BtDArray<BaTextureCoords>(2));
       }},
      {ASSERTION("tc.size()==nverts"),
       [] { BaTexturedTMesh().setVertices(BtDArray<BaVertex>(3), BtDArray<BaTextureCoords>(2)); }},
      {ASSERTION("_n_bones_added == _bones.size()"),
       [] {
         BaBody body;
         body.add(static_cast<BaBone*>(nullptr));
         body.preAddElements();
       }},
      {ASSERTION("!mat->name().isNull()"),
       [] { BaModel().addMaterial(std::make_unique<BaMaterial>()); }},
      {ASSERTION("kind()==other.kind()"), [] { BaMatAlphaAttr().set(BaMatShininessAttr()); }},
      {ASSERTION("_bodies[new_body->id()]==(BaBody *)0"),
       [] {
         BaModel model;
         ScanInto(&model, kBasicModel);
         auto body = std::make_unique<BaBody>();
         body->setId(1);
         model.addBody(std::move(body));
       }},
  });
}

}  // namespace
