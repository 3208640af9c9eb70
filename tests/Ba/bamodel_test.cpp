// The model itself: lookups, questions, edits, ownership, size.

#include "Ba/bamodelcombine.h"
#include "Ba/modeltexts.h"
#include "Bt/btset.h"
#include "Bt/deathcases.h"

namespace {

// The ids of materials as a text.
template <class Materials>
std::string Ids(const Materials& materials) {
  std::string ids;
  for (const auto& material : materials) ids += std::to_string(material->id()) + " ";
  return ids;
}

TEST(BaModel, FindsBodiesAndMaterials) {
  const LegacyModel model(Body(60, "b", 2) + Body(2, "a", -1) + Body(5, "b", 2) + Material(9, "m") +
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

  const BaBody* const a = model.findBody(2);
  EXPECT_TRUE(a->child(1)->isDescendantOf(model.findBody(0)));
  EXPECT_FALSE(a->isDescendantOf(a));
  EXPECT_EQ(a->parentId(), 0) << "a body without a parent hangs under the world";
  EXPECT_TRUE(model.checkInvariants(nullptr));

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

TEST(BaModel, RemovesUnusedMaterials) {
  const std::string triangle = " 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
  const std::tuple<std::vector<int>, std::string, bool, const char*, const char*> cases[] = {
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
  for (const auto& [materials, elements, renumber, kept_ids, used_ids] : cases) {
    std::string records = Body(1, "b", 0);
    for (const int id : materials) records += Material(id, "m" + std::to_string(id));
    LegacyModel model(records + elements);
    model.removeUnusedMaterials(renumber);
    EXPECT_EQ(Ids(model.materials()), kept_ids) << elements;
    std::string used;
    for (const auto& polygon : model.polygons()) {
      used += std::to_string(polygon->materialId()) + " ";
    }
    EXPECT_EQ(used, used_ids) << "by the polygons";
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

// No format holds them: one warning names the bodies, whoever writes, unless an error is to be
// told.
TEST(BaModel, WarnsOfPostScaleFactors) {
  std::string records = Body(1, "b1", 0);
  for (int id = 2; id <= 12; ++id) records += Body(id, "b" + std::to_string(id), 1);
  const std::string ten = R"("b1", "b2", "b3", "b4", "b5", "b6", "b7", "b8", "b9", "b10")";
  const std::pair<int, std::string> cases[] = {
      {0, ""}, {1, "\"b1\""}, {2, R"("b1", "b2")"}, {10, ten}, {12, ten + " and 2 others"}};
  for (const auto& [n_scaled, names] : cases) {
    LegacyModel model(records);
    for (int id = 1; id <= n_scaled; ++id) model.findBody(id)->setPostScaleFactor(0.5F);
    const auto expect_warning = [](const std::string& of) {
      ASSERT_EQ(theExceptObj.hasException(), !of.empty());
      if (of.empty()) return;
      EXPECT_EQ(theExceptObj.exception().message(),
                ("Post scale factors have no form in a file.  Those of " + of + " are left out.")
                    .c_str());
      EXPECT_FALSE(theExceptObj.exception().hasDetail());
      theExceptObj.clear();
    };
    const std::string text = Print(model);
    expect_warning(names);
    const TestFolder folder;
    model.save(folder.path("saved.mdl").c_str());
    expect_warning(names);
    BaModelData data;
    EXPECT_TRUE(data.fillBodyFrom(model, 1, true));
    expect_warning(n_scaled == 0 ? "" : "\"b1\"");
    theExceptObj.set("older");
    EXPECT_EQ(Print(model), text);
    EXPECT_EQ(TakePrinted(), PrintedError("older"));
  }
}

// A chain of bodies, the leaf first in the file: nothing may recurse along it, or take the square
// of its length.
TEST(BaModel, HoldsAndRenumbersLongChains) {
  constexpr int kBodies = 100000;
  std::string records;
  BtMap<int, int> reversed;
  for (int id = kBodies; id > 0; --id) {
    records += Body(id, "b" + std::to_string(id), id - 1);
    reversed.insert(id, kBodies + 1 - id);
  }
  LegacyModel model(records);
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
  model.changeBodyIds(reversed);
  EXPECT_EQ(model.findBody(1)->name(), "b100000");
  EXPECT_TRUE(model.checkInvariants(nullptr));
}

// Copies share their effects until one of them is changed, in whichever way.
TEST(BaVertex, OwnsItsEffects) {
  const std::pair<void (*)(BaVertexEffects&), const char*> changes[] = {
      {[](BaVertexEffects& effects) { effects.changeFlex2BodyId(7, 8); }, " 3 0.25 8 2 0.5"},
      {[](BaVertexEffects& effects) {
         effects.removeIf([](const Ba_VertexEffect& e) { return e.type() == BaFlex2Effect; });
       },
       " 2 0.5"},
      {[](BaVertexEffects& effects) { effects.add(std::make_unique<BaVertexFlexEffect>(1.0F)); },
       " 3 0.25 7 2 1.5"},
      {[](BaVertexEffects& effects) {
         static_cast<BaVertexFlexEffect*>(effects.first()->next())->weight = 2;
       },
       " 3 0.25 7 2 2"},
      {[](BaVertexEffects& effects) {
         BaVertexEffectsBuilder(&effects).add(std::make_unique<BaVertexFlex2Effect>(1.0F, 5));
       },
       " 3 0.25 7 2 0.5 3 1 5"},
      {[](BaVertexEffects& effects) { effects.clear(); }, ""},
  };
  BaVertex vertex(1, 2, 3);
  vertex.effects().add(std::make_unique<BaVertexFlex2Effect>(0.25F, 7));
  vertex.effects().add(std::make_unique<BaVertexFlexEffect>(0.5F));
  for (const auto& [change, changed] : changes) {
    BaVertex copy(vertex);
    EXPECT_EQ(vertex.effects().nOwners(), 2);
    change(copy.effects());
    EXPECT_EQ(vertex.effects().nOwners(), 1) << changed;
    EXPECT_EQ(Print(copy), " 1 2 3" + std::string(changed) + " -1");
    EXPECT_EQ(Print(vertex), " 1 2 3 3 0.25 7 2 0.5 -1");
    copy.effects().changeFlex2BodyId(77, 8);
    copy = vertex;
    copy.effects().changeFlex2BodyId(77, 8);  // what changes nothing copies nothing
    EXPECT_EQ(copy.effects().nOwners(), 2);
  }
  EXPECT_EQ(vertex, BaVertex(1, 2, 3));
  EXPECT_EQ(BaVertex(0, 0, 0), BaVertex(-0.0F, 0, 0));
}

TEST(BaVertex, KeepsOneFlex2EffectForABody) {
  const std::tuple<int, int, const char*> cases[] = {
      {1, 5, " 3 0.25 5 2 1 3 0.5 2"}, {1, 2, " 2 1 3 0.75 2"},         {2, 1, " 3 0.75 1 2 1"},
      {2, 2, " 3 0.25 1 2 1 3 0.5 2"}, {9, 1, " 3 0.25 1 2 1 3 0.5 2"},
  };
  for (const auto& [old_id, new_id, effects] : cases) {
    auto polygon = Scanned<BaPolygon>("1 1 1 0 0 0 3 .25 1 2 1 3 .5 2 -1");
    theExceptObj.clear();
    polygon.changeFlex2BodyId(old_id, new_id);
    EXPECT_EQ(Print(polygon.vertices()[0]), std::string(" 0 0 0") + effects + " -1")
        << old_id << new_id;
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

void AddSecondBody(int id) {
  BaModel model;
  model.beginLoad();
  for (int i = 0; i < 2; ++i) {
    auto body = std::make_unique<BaBody>();
    body->setId(id);
    model.load(std::move(body));
  }
}

// An edit, or what only loading does.
void AfterBeginLoad(void (*act)(BaModel&)) {
  BaModel model;
  model.beginLoad();
  act(model);
}

TEST(BaModelDeathTest, StopsOnMisuse) {
  static const BtDArray<BaVertex> three(3);
  static const BtDArray<BaTextureCoords> two(2);
  static BaBody boned;
  boned.add(static_cast<BaBone*>(nullptr));
  ExpectAssertions({
      {"kind!=Shininess && kind!=Alpha", [] { Ba_MatRGBAttr attr(Alpha); }},
      {"kind==Shininess || kind==Alpha", [] { Ba_MatFAttr attr(Ba_MatAttr_t::Diffuse); }},
      {"psf>0.0f", [] { BaBody().setPostScaleFactor(0); }},
      {"tc.size()==_n_vertices", [] { BaTexturedPolygon().setVertices(three, two); }},
      {"tc.size()==nverts", [] { BaTexturedTMesh().setVertices(three, two); }},
      {"_n_bones_added == _bones.size()", [] { boned.preAddElements(); }},
      {"!mat->name().isNull()",
       [] { AfterBeginLoad([](BaModel& m) { m.load(std::make_unique<BaMaterial>()); }); }},
      {"isLoading()", [] { BaModel().load(std::make_unique<BaBody>()); }},
      {"isLoading()", [] { BaModel().endLoad(); }},
      {"object", [] { AfterBeginLoad([](BaModel& m) { m.load(std::unique_ptr<BaBone>()); }); }},
      {"!isLoading()", [] { AfterBeginLoad([](BaModel& m) { m.addBody(BaBody()); }); }},
      {"!isLoading()", [] { AfterBeginLoad([](BaModel& m) { m.addSliderGroups({}); }); }},
      {"!body_name_suffix.isNull()",
       [] { AfterBeginLoad([](BaModel& m) { BaModelCombine(&m).add(BaModel(), 0, BtStr()); }); }},
      {"!model.isLoading()", [] { AfterBeginLoad([](BaModel& m) { m.save("x"); }); }},
      {"file_name", [] { BaModel().read(nullptr); }},
      {"flags.size()==nverts", [] { BaTMesh().setSwapFlags({1}); }},
      {"modes.size()==vertices.size()", [] { BaFlexiblePolygon().setVertices(three, {1}); }},
      {"kind()==other.kind()", [] { BaMatAlphaAttr().set(BaMatShininessAttr()); }},
      {"_bodies[new_body->id()]==(BaBody *)0", [] { AddSecondBody(1); }},
  });
}

}  // namespace
