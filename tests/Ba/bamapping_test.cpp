#include "Ba/bamapping.h"

#include <algorithm>

#include "Ba/babodymapattribute.h"
#include "Ba/bamotion.h"
#include "Ba/modeltexts.h"
#include "Bt/deathcases.h"
#include "support/errorcases.h"
#include "support/mappingtexts.h"

namespace {

bool ScanMapping(const std::string& text, BaUnlockedMapping* mapping) {
  std::istringstream is(text);
  return mapping->scanFrom(is, false);
}

BaUnlockedMapping Read(const std::string& text) {
  BaUnlockedMapping mapping;
  EXPECT_TRUE(ScanMapping(text, &mapping)) << text << TakePrinted();
  return mapping;
}

TEST(BaMapping, FilesThatAreNotReadSayWhy) {
  for (const ErrorCase& c : ReadErrorCases("mappings.txt")) {
    BaUnlockedMapping mapping;
    EXPECT_FALSE(ScanMapping(c.text, &mapping)) << c.text;
    EXPECT_EQ(TakePrinted(), PrintedError(c.lines)) << c.text;
  }
  std::istringstream failed;
  failed.setstate(std::ios::failbit);
  EXPECT_FALSE(BaUnlockedMapping().scanFrom(failed, false));
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to open file."));
}

TEST(BaMapping, FilesThatAreReadGiveTheirVariableCount) {
  // The number of variables, and the highest that anything uses.
  const std::tuple<std::string, int, int, std::string> cases[] = {
      {"Zov Graphic Mapping File, draft\r\nv1.9\r\n0\r\n0\r\n", 0, 0, ""},
      {"Zov Graphic Mapping File" + std::string(200, '!') + "\nV1.999 0 0", 0, 0, ""},
      {MappingText(0, 0, "# comment\nEND:\nno section"), 0, 0, ""},
      {MappingText(10, 1, BodyRecord(1, 7)), 12, 12,
       "Mapping file specifies 10 variables, but actually uses 12 variables."},
      {TextureMaps("1 9"), 6, 9, ""},  // only variables of transforms count in the number
      {Sliders("a 2\nb 8"), 6, 8, ""},
      {IncludeBlock("FILE_NAME: a"), 6, 6, ""},  // the include is not loaded
  };
  for (const auto& [text, num_vars, highest, warning] : cases) {
    const BaUnlockedMapping mapping = Read(text);
    EXPECT_EQ(mapping.numSysVars(), num_vars) << text;
    EXPECT_EQ(mapping.highestSysVarUsed(), highest) << text;
    EXPECT_EQ(TakePrinted(), warning.empty() ? "" : PrintedWarning(warning)) << text;
  }
}

TEST(BaMapping, WritesWhatItReads) {
  const std::string text = ModelText("every-section.dof");
  std::ostringstream os;
  os << Read(text);
  EXPECT_EQ(os.str(), text);
  EXPECT_EQ(Read(os.str()), Read(text));
  // Pairs may be laid out freely; a slider that is listed twice alike is kept once.
  EXPECT_EQ(Read(Sliders(" a # one\n1 b +2 a 1")), Read(Sliders("a 1\nb 2")));
}

TEST(BaMapping, RandomMappingsSurviveWriting) {
  std::mt19937 random(2024);
  const auto below = [&random](unsigned n) { return static_cast<int>(random() % n); };
  const auto real = [&random] { return RandomFloat(&random); };
  int order[] = {1, 2, 3, 4, 5, 6};
  for (int i = 0; i < 3000; ++i) {
    std::shuffle(std::begin(order), std::end(order), random);
    BaUnlockedBodyMap body_map(below(1000) + 1, {}, {});
    for (const int id : order) {
      body_map.setTransform(id, *CreateTransform(id, below(100)));
      if (below(2) == 0) continue;
      body_map.setTransform(id, *CreateTransform(id, real(), {below(9) + 1, 7}, {real(), real()}));
    }
    BaUnlockedMapping mapping;
    mapping.addBodyMap(body_map);
    mapping.setHighestSysVar();
    EXPECT_EQ(Read(Print(mapping)), mapping);
  }
}

TEST(BaMapping, EditsKeepTheLookupsTrue) {
  const std::string undriven = "7 1 2 3 4 5 6 0 0 0 -1 3 0 0\n";
  const BaUnlockedMapping original =
      Read(MappingText(18, 4, BodyRecord(5, 1) + BodyRecord(2, 4) + undriven + BodyRecord(3, 13)));
  BaUnlockedMapping mapping = original;
  mapping.removeUnusedBodyMaps();
  EXPECT_EQ(mapping.bodyMap(7), nullptr);
  mapping.removeBodyMap(2);
  mapping.changeBodyId(3, 2);
  mapping.addBodyMap(BaUnlockedBodyMap(3, {1, 2, 3, 4, 5, 6}, {2, 40, 0, 0, 0, 0}));
  mapping.setHighestSysVar();
  EXPECT_EQ(mapping.numSysVars(), 40);
  EXPECT_EQ(mapping.bodyMap(2)->zRotSysVarId(), 18);
  BtDArray<int> ids;
  mapping.getBodies(&ids);
  EXPECT_EQ(ids, (BtDArray<int>{5, 2, 3}));
  mapping.getUsedSysVarIds(&ids);
  EXPECT_EQ(ids, (BtDArray<int>{1, 2, 3, 4, 5, 6, 13, 14, 15, 16, 17, 18, 40}));
  mapping.getBodiesUsingSysVar(&ids, 2);
  EXPECT_EQ(ids, (BtDArray<int>{5, 3}));
  BtList<Ba_Transform*> driven;
  mapping.getSysVarTransforms(&driven, 2);
  mapping.getSysVarTransforms(&driven, 3);  // is appended
  EXPECT_EQ(driven.count(), 3);
  mapping.changeBodyIds({{5, 2}, {2, 3}, {3, 5}, {99, 1}});
  mapping.getBodies(&ids);
  EXPECT_EQ(ids, (BtDArray<int>{2, 3, 5}));
  EXPECT_EQ(mapping.bodyMap(3)->zRotSysVarId(), 18);
  mapping = original;
  EXPECT_EQ(mapping, original);
  mapping.bodyMap(2)->setTransform(1, {1, 8});
  EXPECT_FALSE(mapping == original);
  EXPECT_FALSE(Read(Sliders("a 1")) == Read(Sliders("a 2")));
}

// What a variable drives, a line each.
std::string DrivenLines(const BaUnlockedMapping& mapping, int var_id) {
  std::ostringstream os;
  for (const BaUnlockedMapping::Driven& thing : mapping.drivenBy(var_id)) {
    os << static_cast<int>(thing.kind) << ' ' << thing.id << ' ' << thing.transform_id << ' '
       << thing.slider_group.view() << ' ' << thing.slider.view() << ' ' << thing.factor << '\n';
  }
  return os.str();
}

TEST(BaMapping, TellsAllThatAVariableDrives) {
  const BaUnlockedMapping mapping = Read(
      MappingText(50, 2,
                  BodyRecord(5, 1) + "2\n6 5 4 3 2 1\n2\n0\n-4 1 2 0.5 3 4 2 0.25\n0\n0\n-1 9\n" +
                      "MATERIAL_TEXTURE_INDEX_MAPS {\n3 2\n}\nBLEND_EFFECT_MAP {\nSLIDER_GROUP: g\n"
                      "SLIDERS {\nsmile 2\nfrown 41\n}\n}\n"));
  theExceptObj.clear();
  EXPECT_EQ(mapping.numSysVars(), 6);
  EXPECT_EQ(mapping.highestSysVarUsed(), 41);
  EXPECT_EQ(mapping.numSysVarsStated(), 50);
  EXPECT_EQ(BaHighestSysVarKnown(mapping), 50);
  EXPECT_EQ(DrivenLines(mapping, 2),
            "0 5 2   1\n0 2 1   1\n0 2 3   0.75\n1 3 0   1\n2 0 0 g smile 1\n");
  EXPECT_EQ(DrivenLines(mapping, 3), "0 5 3   1\n0 2 3   4\n");
  EXPECT_EQ(DrivenLines(mapping, 7), "");
  EXPECT_EQ(mapping.allDriven().at(41).front().slider, "frown");
  EXPECT_EQ(mapping.allDriven().size(), 7U);

  BaUnlockedMapping outer;
  ASSERT_TRUE(outer.merge(mapping, 0, 100));
  EXPECT_EQ(outer.numSysVarsStated(), 150);
}

TEST(BaMapping, LoadCompatibilityNamesTheFirstBodyThatDiffers) {
  const std::string partial = "2 1 1 2 3 4 5 1 2 3 4 5 6\n";
  const std::string differs = "The transformations do not match for body ";
  const std::string extra = "The source model has extra transformations for body ";
  const std::string one = BodyRecord(1, 1);
  const std::string cases[][3] = {
      {one + BodyRecord(2, 7), BodyRecord(2, 7) + one, ""},
      {one + BodyRecord(2, 7), one + BodyRecord(2, 8), differs},
      {one + BodyRecord(2, 1), one + partial, differs},
      {one + partial, one + BodyRecord(2, 1), extra},
      {one + BodyRecord(3, 7), one + BodyRecord(2, 7), extra},
  };
  const LegacyModel model(Body(2, "hip", 0));
  for (const auto& [dest_text, source_text, message] : cases) {
    const BaUnlockedMapping dest = Read(MappingText(12, 2, dest_text));
    const BaUnlockedMapping source = Read(MappingText(12, 2, source_text));
    theExceptObj.clear();
    const bool fits = message.empty();
    EXPECT_EQ(BaMappingCheckLoadCompatibility(dest, source, nullptr), fits);
    EXPECT_EQ(TakePrinted(), fits ? "" : PrintedError(message + "with id of 2."));
    EXPECT_EQ(BaMappingCheckLoadCompatibility(dest, source, &model), fits);
    EXPECT_EQ(TakePrinted(), fits ? "" : PrintedError(message + "\"hip\"."));
  }
}

TEST(BaMapping, CancelEndsReading) {
  std::string records;
  for (int body_id = 1; body_id <= 40; ++body_id) records += BodyRecord(body_id, 1);
  theExceptObj.setCancelHook([] { return true; });
  BaUnlockedMapping mapping;
  EXPECT_FALSE(ScanMapping(MappingText(6, 40, records), &mapping));
  theExceptObj.setCancelHook(nullptr);
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to read file.|Canceled."));
}

std::unique_ptr<BaUnlockedBodyMap> Scan(const std::string& text) {
  std::istringstream is(text);
  return BaUnlockedBodyMap::scanNewFrom(is);
}

TEST(BaBodyMap, OrderLineGivesTheOrderOfTheRotations) {
  const std::pair<const char*, BtArray<int>> cases[] = {
      {"4 5 6 1 2 3", {1, 2, 3}},
      {"1 2 3 6 4 5", {3, 1, 2}},
      {"5 1 4 2 6 3", {2, 1, 3}},
      {"6 6 3 4 2 1", {3, 3, 1}}};  // repeated ids are kept as they stand
  for (const auto& [line, axes] : cases) {
    const auto body_map = Scan("1 " + std::string(line) + " 1 2 3 4 5 6");
    ASSERT_NE(body_map, nullptr);
    BtArray<int> order(3);
    BtArray<int> sequence(3);
    body_map->getRotOrder(&order);
    body_map->getAngleSequence(&sequence);
    EXPECT_EQ(order, axes) << line;
    EXPECT_EQ(sequence, axes) << line;
    std::istringstream ids(line);
    for (int i = 0, id = 0; ids >> id; ++i) EXPECT_EQ(body_map->transformId(i), id) << line;
  }
}

TEST(BaBodyMap, EditsKeepTheOrder) {
  BaUnlockedBodyMap body_map(3, {5, 4, 1}, {21, 0, 0, 24, 25, 0});
  EXPECT_EQ(body_map.xTransSysVarId() * 10000 + body_map.xRotSysVarId() * 100 +
                body_map.getTransform(BtAxis_t::Y, kBaRotationKind).sysVarId(),
            212425);
  EXPECT_FALSE(body_map.zTranslation().exists());
  EXPECT_EQ(body_map.zTranslation().id(), 3);

  // An id that is there is replaced in place, another one goes last.
  body_map.setTransform(4, *CreateTransform(4, 2.0F, {8, 9}, {0.5F, -1.0F}));
  body_map.setTransform(6, *CreateTransform(6, 9));
  BtList<Ba_Transform*> driven;
  body_map.getSysVarTransforms(&driven, 9);
  ASSERT_EQ(driven.count(), 2);
  EXPECT_EQ(driven[0], &body_map.transforms()[1]);
  EXPECT_EQ(driven[1], &body_map.transforms()[3]);
  EXPECT_TRUE(body_map.usesSysVarId(8));
  EXPECT_FALSE(body_map.usesSysVarId(24));
}

TEST(BaBodyMap, VariablesAreRenumberedButZeroStaysZero) {
  const auto body_map = Scan("1 1 2 3 4 5 6 0 1 -3 0 2 1.5 1 2.5 2 0 1");
  body_map->renumberSysVarIds({7, 12, 11});
  EXPECT_EQ(Print(*body_map), "1\n1 2 3 4 5 6\n0\n12\n-3 0 11 1.5 12 2.5 \n11\n0\n12\n");
}

TEST(BaBodyMap, AttributesReadAndWriteFrames) {
  const auto body_map = Scan("7 1 2 3 4 5 6 2 0 -1 0.5 -3 0.25 1 2 3 -1 0 3");
  BtDArray<float> frame = {10, 20, 30};
  const struct {
    const char* name;
    bool is_numeric;
    float value;
  } cases[] = {{"body7.xTranslation", true, 20},   {"body7.yTranslation", false, 0},
               {"body7.zTranslation", false, 0.5}, {"body7.xRotation", false, -9.75},
               {"body7.yRotation", false, 0},      {"body7.zRotation", true, 30}};
  for (int id = 1; id <= kBaTransformCount; ++id) {
    const auto& row = cases[id - 1];
    const BaBodyMapAttribute attribute(*body_map, id);
    EXPECT_EQ(attribute.name(), row.name);
    EXPECT_EQ(attribute.hasNumericType(), row.is_numeric) << row.name;
    EXPECT_EQ(attribute.getNumericValue(frame), row.value) << row.name;
    if (row.is_numeric) attribute.setNumericValue(&frame, static_cast<float>(id));
  }
  EXPECT_EQ(frame, (BtDArray<float>{10, 1, 6}));
}

TEST(BaBodyMap, ListsTakeTransformsOfAType) {
  BaUnlockedTransformList list = {{4, 1}, {1, 2}, {6, 3}, {3, 4}};
  InsertAfter(&list, Ba_Transform::Translation, {2, 5});
  InsertAfter(&list, Ba_Transform::Rotation, {5, 6});
  std::string ids;
  for (const BaUnlockedTransform& transform : list) ids += std::to_string(transform.id());
  EXPECT_EQ(ids, "416532");
  list = {{4, 1}, {6, 3}};
  const BaUnlockedTransform missing = GetNonExistingTF(list, Ba_Transform::Rotation);
  EXPECT_FALSE(missing.exists());
  EXPECT_EQ(missing.id(), 5);
  EXPECT_EQ(GetNonExistingTF(list, Ba_Transform::CombTranslation).id(), 1);
}

TEST(BaMappingDeathTest, MisuseAborts) {
  static BaUnlockedMapping mapping = Read(MappingText(6, 2, BodyRecord(1, 1) + BodyRecord(2, 1)));
  static const BtMap<int, int> onto_another = {{1, 2}};
  static const BtList<int> six{1, 1, 1, 1, 1, 1};
  static BtArray<int> three(3);
  static BtArray<int> four(4);
  static BtDArray<float> frame(1);
  static BtList<Ba_Transform*> driven;
  static BaUnlockedTransformList translations = {{1, 1}, {2, 1}, {3, 1}};
  static const BaUnlockedTransform z_translation(3, 1);
  static const BaUnlockedTransform x_rotation(4, 1);
  static const BtIntArray to_none = {0, 0};
  static const BtIntArray to_negative = {0, -1};
  static const auto combination = Scan("1 1 2 3 4 5 6 -2 0 1 1 0 0 0 0 0");
  static const auto undriven = Scan("1 1 2 3 4 5 6 0 0 0 0 0 0");
  ExpectAssertions({
      {"body_id>=1", [] { BaUnlockedBodyMap(0, {1}, six); }},
      {"ValidOrder(order)",
       [] {
         BaUnlockedBodyMap(1, {2, 2}, six);
       }},
      {"sysvar_ids[order_i - 1] >= 0",
       [] {
         BaUnlockedBodyMap(1, {2}, {1, -1});
       }},
      {"id>=1 && id<=6", [] { (void)CreateTransform(7, 1); }},
      {"transform.id()==id", [] { BaUnlockedBodyMap().setTransform(2, z_translation); }},
      {"var_id>0", [] { BaUnlockedBodyMap().getSysVarTransforms(&driven, 0); }},
      {"order_ptr->size()==3", [] { BaUnlockedBodyMap().getRotOrder(&four); }},
      {"x==3", [] { Scan("1 4 4 4 4 5 6 1 2 3 4 5 6")->getRotOrder(&three); }},
      {"seqnum==3", [] { BaUnlockedBodyMap().getAngleSequence(&three); }},
      {"hasNumericType()", [] { BaBodyMapAttribute(*undriven, 1).setNumericValue(&frame, 1); }},
      {"!tf->exists()", [] { (void)GetNonExistingTF(translations, Ba_Transform::Translation); }},
      {"inserted", [] { InsertAfter(&translations, Ba_Transform::Rotation, x_rotation); }},
      {"transformation_order.count() == 6", [] { Print(BaUnlockedBodyMap()); }},
      {"transformation_order.contains(id)", [] { Print(*Scan("1 1 2 3 4 5 5 1 2 3 4 5 6")); }},
      {"bodyMap(body_id)==0", [] { mapping.addBodyMap(*mapping.bodyMap(1)); }},
      {"body_id>=1", [] { mapping.addBodyMap(BaUnlockedBodyMap()); }},
      {"bodyMap(body_id)!=0", [] { mapping.removeBodyMap(3); }},
      {"bodyMap(to)==0", [] { mapping.changeBodyId(1, 2); }},
      {"bodyMap(to)==0", [] { mapping.changeBodyIds(onto_another); }},
      {"!isOwned()", [] { *mapping.bodyMap(1) = *mapping.bodyMap(2); }},
      {"sysvar_id>=0", [] { Scan("1 1 2 3 4 5 6 1 0 0 0 0 0")->renumberSysVarIds(to_negative); }},
      {"sysvar_id>=1", [] { combination->renumberSysVarIds(to_none); }},
      {"sysvar_id>=1", [] { combination->offsetSysVarIds(-1); }},
      {"id<=INT_MAX-offset", [] { combination->offsetSysVarIds(2147483647); }},
  });
}

}  // namespace
