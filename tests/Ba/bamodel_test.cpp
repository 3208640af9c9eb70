// The model itself: lookups, questions, edits, ownership, size.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Ba/modeltexts.h"
#include "Bt/deathcases.h"
#include "btset.h"

namespace {

// The ids of materials as a text.
template <class Materials>
std::string Ids(const Materials& materials) {
  std::string ids;
  for (const auto& material : materials) ids += std::to_string(material->id()) + " ";
  return ids;
}

TEST(BaModel, FindsBodiesAndMaterials) {
  const LegacyModel model(Body(60, "b", 2) + Body(2, "a", 0) + Body(5, "b", 2) + Material(9, "m") +
                          Material(-4, "m"));
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
  LegacyModel model(Body(1, "a", 0) + Body(2, "b", 1) + Body(3, "c", 1) + Body(4, "d", 0) +
                    Material(1, "m") + "M 2 m\n100 1 'x.png' -1 0\n" +
                    "M 3 m\n100 1 'y.png' -1 0\nP 1 3 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1\n" +
                    "F 1 2 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\nB 1 3 0 0 0 1 1 1\n" +
                    "T 2 1 2 0 0 0 0 -1 0 0 0 0 -1\nt 2 1 1 0 0 0 0 0 0 -1\n" +
                    "f 1 2 1 2 0 5 0 0 -1\n");
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
  BtList<BaMaterial*> none;
  EXPECT_DEATH(model.getUsedMaterials(&none, 5), "body");

  BtList<BtStr> file_names;
  model.getTextureFileNames(&file_names);
  EXPECT_EQ(file_names, (BtList<BtStr>{"x.png", "y.png"}));

  BtDArray<BaVertex*> vertices;
  model.getVertices(&vertices);
  EXPECT_EQ(vertices.size(), 3 + 3 + 2 + 1 + 1);
  EXPECT_EQ(vertices.last(), &model.flexiblePolygons()[0]->vertices()[0]);
}

TEST(BaModel, RemovesBones) {
  LegacyModel model(Body(1, "b", 0) + Material(1, "m") + "B 1 1 0 0 0 1 1 1 B 1 1 0 0 0 2 2 2\n");
  ASSERT_EQ(model.findBody(1)->bones().size(), 2);
  model.removeBones();
  EXPECT_TRUE(model.bones().empty());
  EXPECT_TRUE(model.findBody(1)->bones().empty());
  EXPECT_NO_FATAL_FAILURE(model.findBody(1)->preAddElements());
}

TEST(BaModel, RemovesUnusedMaterials) {
  const std::string triangle = " 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
  const struct {
    std::vector<int> materials;
    std::string elements;
    bool renumber;
    const char* kept;  // material ids afterwards
    const char* used;  // by the polygons
  } cases[] = {
      {{3, 5, 9}, "F 1 3" + triangle + "F 1 9" + triangle, false, "3 9 ", "3 9 "},
      {{3, 5, 9}, "F 1 9" + triangle + "F 1 3" + triangle, true, "1 2 ", "2 1 "},
      // Each kind of element keeps its material.
      {{3}, "B 1 3 0 0 0 1 1 1\n", true, "1 ", ""},
      {{3}, "T 1 3 0\n", true, "1 ", ""},
      {{3}, "t 1 3 0\n", true, "1 ", ""},
      {{3}, "f 1 3 0 1\n", false, "3 ", ""},
      {{3}, "m 3 x\n\n", true, "1 ", ""},
      {{3}, "", true, "", ""},
      // Ids that are small already stay, and no two materials become one.
      {{1, 2}, "F 1 2" + triangle, true, "1 ", "1 "},
      {{-3, 7}, "F 1 7" + triangle + "F 1 -3" + triangle, true, "-3 2 ", "2 -3 "},
      {{5, 1}, "F 1 5" + triangle + "F 1 1" + triangle, true, "5 1 ", "5 1 "},
  };
  for (const auto& c : cases) {
    std::string records = Body(1, "b", 0);
    for (const int id : c.materials) records += Material(id, "m" + std::to_string(id));
    LegacyModel model(records + c.elements);
    model.removeUnusedMaterials(c.renumber);
    EXPECT_EQ(Ids(model.materials()), c.kept) << c.elements;
    std::string used;
    for (const auto& polygon : model.polygons()) {
      used += std::to_string(polygon->materialId()) + " ";
    }
    EXPECT_EQ(used, c.used);
    BtStr fault;
    EXPECT_TRUE(model.checkInvariants(&fault)) << fault;
  }
  LegacyModel flexible(Body(1, "b", 0) + Material(1, "m") + "f 1 1 0 1\n");
  EXPECT_DEATH(flexible.removeUnusedMaterials(true), "_flexible_polygons.size\\(\\)==0");
}

TEST(BaModel, ReplacesItsContentWhenItReads) {
  LegacyModel model(Body(1, "body", 0) + Material(1, "m") + "B 1 1 0 0 0 1 1 1\n");
  model.setCombineVertexNormals(false);
  ASSERT_EQ(ScanInto(&model, "Zov Graphic Model File\nv1.00\n"), "");
  EXPECT_EQ(model.version(), 1.0F);
  EXPECT_EQ(model.bodies().size(), 1);
  EXPECT_EQ(model.findBody(0)->parentId(), -1);
  EXPECT_TRUE(model.materials().empty() && model.bones().empty() && model.combineVertexNormals());
  EXPECT_EQ(model.findBody("body"), nullptr);
  EXPECT_EQ(model.materialById(1), nullptr);
  std::istringstream is("");
  EXPECT_DEATH(model.rawScanFrom(is), "_bodies.size\\(\\)==0");
}

// A chain of bodies, the leaf first in the file: nothing may recurse along it.
TEST(BaModel, HoldsLongChains) {
  constexpr int kBodies = 100000;
  std::string records;
  for (int id = kBodies; id > 0; --id) records += Body(id, "b" + std::to_string(id), id - 1);
  const LegacyModel model(records);
  EXPECT_TRUE(model.findBody(kBodies)->isDescendantOf(model.findBody(1)));
  BtList<BaBody*> ends;
  model.getEndBodies(&ends);
  ASSERT_EQ(ends.count(), 1);
  EXPECT_EQ(ends.last()->id(), kBodies);
  BaModel again;
  EXPECT_EQ(ScanInto(&again, Print(model)), "");
  EXPECT_EQ(again.bodies().size(), kBodies + 1);
  const FilledDocument document(model);
  EXPECT_EQ(document.bodies().count(), kBodies);
  EXPECT_EQ(document.bodies().last()->parentName(), "b99999");
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
  EXPECT_EQ(Print(vertex), " 1 2 3 3 0.25 7 2 0.5 -1");
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
    auto polygon = Scanned<BaPolygon>("1 1 1 0 0 0 3 .25 1 2 1 3 .5 2 -1");
    theExceptObj.clear();
    polygon.changeFlex2BodyId(c.old_id, c.new_id);
    EXPECT_EQ(Print(polygon.vertices()[0]), std::string(" 0 0 0") + c.effects + " -1")
        << c.old_id << c.new_id;
  }
}

TEST(BaPolygon, TellsWhereItFaces) {
  const std::pair<const char*, bool> cases[] = {
      {"1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1", true},
      {"1 1 3 0 1 0 -1 1 0 0 -1 0 0 0 -1", false},
      {"1 1 5 2 0 0 -1 2 2 0 -1 1 0.5 0 -1 0 2 0 -1 0 0 0 -1", true},  // a notch
  };
  for (const auto& [text, front] : cases) {
    EXPECT_EQ(Scanned<BaPolygon>(text).frontFacing(), front) << text;
  }
}

TEST(BaMaterial, HoldsOneAttributeOfAKind) {
  BaMaterial material;
  std::istringstream is("1 m\n3 1 2 3\n5 7\n3 4 5 6\n100 1 'a' -1 100 1 'b' -1\n101 1\n0");
  material.setVersion(1.1F);
  ASSERT_TRUE(material.scanFrom(is));
  EXPECT_EQ(material.attributes().count(), 2);
  EXPECT_EQ(material.textures().size(), 1U);
  const BaMaterial copy(material);
  material.addDiffuseAttribute()->setRGB(0, 0, 0);
  EXPECT_EQ(copy.attribute(Ba_MatAttr_t::Diffuse)->values()[0], 4.0F);
  EXPECT_EQ(copy.attribute(Ba_MatAttr_t::Alpha), nullptr);
  EXPECT_EQ(copy.texture().fileName(), "b");
  EXPECT_TRUE(copy.flag());
}

void AddSecondBody(int id) {
  auto body = std::make_unique<BaBody>();
  body->setId(id);
  LegacyModel(Body(id, "b", 0)).addBody(std::move(body));
}

TEST(BaModelDeathTest, StopsOnMisuse) {
  static const BtDArray<BaVertex> three(3);
  static const BtDArray<BaTextureCoords> two(2);
  ExpectDeaths({
      {ASSERTION("kind!=Shininess && kind!=Alpha"),
       [] { Ba_MatRGBAttr attr(Ba_MatAttr_t::Alpha); }},
      {ASSERTION("kind==Shininess || kind==Alpha"),
       [] { Ba_MatFAttr attr(Ba_MatAttr_t::Diffuse); }},
      {ASSERTION("psf>0.0f"), [] { BaBody().setPostScaleFactor(0); }},
      {ASSERTION("tc.size()==_n_vertices"), [] { BaTexturedPolygon().setVertices(three, two); }},
      {ASSERTION("tc.size()==nverts"), [] { BaTexturedTMesh().setVertices(three, two); }},
      {ASSERTION("_n_bones_added == _bones.size()"),
       [] {
         BaBody body;
         body.add(static_cast<BaBone*>(nullptr));
         body.preAddElements();
       }},
      {ASSERTION("!mat->name().isNull()"),
       [] { BaModel().addMaterial(std::make_unique<BaMaterial>()); }},
      {ASSERTION("kind()==other.kind()"), [] { BaMatAlphaAttr().set(BaMatShininessAttr()); }},
      {ASSERTION("_bodies[new_body->id()]==(BaBody *)0"), [] { AddSecondBody(1); }},
  });
}

}  // namespace
