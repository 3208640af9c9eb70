#include "bamapping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "Ba/modeltexts.h"
#include "Bt/deathcases.h"
#include "support/mappingerrors.h"
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

std::string Written(const BaUnlockedMapping& mapping) {
  std::ostringstream os;
  os << mapping;
  return os.str();
}

TEST(BaMapping, FilesThatAreNotReadSayWhy) {
  for (const ErrorCase& c : MappingErrors()) {
    BaUnlockedMapping mapping;
    EXPECT_FALSE(ScanMapping(c.text, &mapping)) << c.text;
    EXPECT_EQ(TakePrinted(), PrintedError(c.lines)) << c.text;
  }
  std::istringstream failed;
  failed.setstate(std::ios::failbit);
  EXPECT_FALSE(BaUnlockedMapping().scanFrom(failed, false));
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to open file."));
  EXPECT_FALSE(BaUnlockedMapping().read("/no/such.dof", true));
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to open file '/no/such.dof'."));
}

TEST(BaMapping, FilesThatAreReadGiveTheirVariableCount) {
  const struct {
    std::string text;
    int num_vars;
    std::string warning;
  } cases[] = {
      {"Zov Graphic Mapping File, draft\r\nv1.9\r\n0\r\n0\r\n", 0, ""},
      {"Zov Graphic Mapping File" + std::string(200, '!') + "\nV1.999 0 0", 0, ""},
      {MappingText(0, 0, "# comment\nEND:\nno section"), 0, ""},
      {MappingText(10, 1, BodyRecord(1, 7)), 12,
       "Mapping file specifies 10 variables, but actually uses 12 variables."},
      {TextureMaps("1 9"), 6, ""},            // only variables of transforms count
      {IncludeBlock("FILE_NAME: a"), 6, ""},  // the include is not loaded
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Read(c.text).numSysVars(), c.num_vars) << c.text;
    EXPECT_EQ(TakePrinted(), c.warning.empty() ? "" : PrintedWarning(c.warning)) << c.text;
  }
}

TEST(BaMapping, WritesWhatItReads) {
  const std::string text = MappingText(
      12, 2,
      BodyRecord(4, 7) + "1\n6 5 4 3 2 1\n-1 0.1 \n-3 0 3 1e-45 3 -3.4028235e+38 \n0\n0\n1\n2\n" +
          "MATERIAL_TEXTURE_INDEX_MAPS {\n  1 7\n  1 8\n}\n"
          "BLEND_EFFECT_MAP {\n  SLIDER_GROUP: f\n  SLIDERS {\n    smile 20\n    frown 3\n  }\n}\n"
          "BLEND_EFFECT_MAP {\n  SLIDER_GROUP: h\n  SLIDERS {\n  }\n}\n"
          "INCLUDE {\n  FILE_NAME: a b\n  BODY_ID_OFFSET: -5\n  SYSTEM_VARIABLE_ID_OFFSET: 0\n}\n"
          "INCLUDE {\n  FILE_NAME: /c.dof\n  BODY_ID_OFFSET: 0\n}\n\n");
  EXPECT_EQ(Written(Read(text)), text);
  EXPECT_EQ(Read(Written(Read(text))), Read(text));
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
    EXPECT_EQ(Read(Written(mapping)), mapping);
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
  EXPECT_EQ(driven.count(), 2);
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

TEST(BaMappingDeathTest, MisuseAborts) {
  static BaUnlockedMapping mapping = Read(MappingText(6, 2, BodyRecord(1, 1) + BodyRecord(2, 1)));
  static const BtMap<int, int> onto_another = {{1, 2}};
  ExpectDeaths({
      {ASSERTION("bodyMap(body_id)==0"), [] { mapping.addBodyMap(*mapping.bodyMap(1)); }},
      {ASSERTION("body_id>=1"), [] { mapping.addBodyMap(BaUnlockedBodyMap()); }},
      {ASSERTION("bodyMap(body_id)!=0"), [] { mapping.removeBodyMap(3); }},
      {ASSERTION("bodyMap(to)==0"), [] { mapping.changeBodyId(1, 2); }},
      {ASSERTION("bodyMap(to)==0"), [] { mapping.changeBodyIds(onto_another); }},
  });
}

}  // namespace
