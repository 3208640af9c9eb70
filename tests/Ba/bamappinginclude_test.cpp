#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "Ba/modeltexts.h"
#include "Ba/workingfolder.h"
#include "bamapping.h"
#include "support/mappingtexts.h"

namespace {

// Two mappings to include: "one" has one body, "looks" a texture and a slider with the variables 1
// and 2.
class BaMappingInclude : public WorkingFolder {
 protected:
  BaMappingInclude() {
    write("one", OneBody(""));
    write("looks", MappingText(0, 0,
                               "MATERIAL_TEXTURE_INDEX_MAPS {\n4 1\n}\n"
                               "BLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 2\n}\n}\n"));
  }
};

std::string Include(const std::string& name, int body_offset, const std::string& var_offset = "") {
  return "INCLUDE {\nFILE_NAME: " + name + "\nBODY_ID_OFFSET: " + std::to_string(body_offset) +
         (var_offset.empty() ? "" : "\nSYSTEM_VARIABLE_ID_OFFSET: " + var_offset) + "\n}\n";
}

// "body:first variable" of all body maps in order, then the other variables and the count.
std::string Summary(const BaUnlockedMapping& mapping) {
  std::ostringstream text;
  for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
    text << map->bodyId() << ':' << map->xTransSysVarId() << ' ';
  }
  for (const auto& map : mapping.textureIndexMaps()) text << "t:" << map.sysvar_id << ' ';
  for (const auto& map : mapping.blendEffectMaps()) text << "s:" << map.sliders[0].sysvar_id << ' ';
  text << mapping.numSysVars();
  return text.str();
}

TEST_F(BaMappingInclude, MergesWhatIsIncluded) {
  std::filesystem::create_directory("deep");
  write("zero", MappingText(0, 1, "1 1 2 3 4 5 6 0 -1 1 0 0 0 0\n"));
  write("deep/two", OneBody(Include("../one", 1)));
  write("deep/three", OneBody(Include("two", 1)));
  const std::pair<std::string, const char*> cases[] = {
      // Without an offset variables follow on those used so far.
      {Include("one", 1) + Include("one", 2), "1:1 2:7 3:13 18"},
      {Include("one", 9, "50") + Include("one", 1, "-1"), "1:1 10:51 2:57 62"},
      // Gaps may be filled later on.
      {Include("one", 1, "50") + Include("one", 2, "6"), "1:1 2:51 3:7 56"},
      {Include(path("one"), 1), "1:1 2:7 12"},
      {Include("deep/three", 1), "1:1 2:7 3:13 4:19 24"},
      // What nothing drives stays so, and clashes with nothing.
      {Include("zero", 1, "0") + Include("zero", 2, "-100"), "1:1 2:0 3:0 6"},
      // Variables of sliders and textures are moved, and are in the way of others.
      {Include("looks", 1) + Include("one", 1), "1:1 2:9 t:7 s:8 14"},
  };
  for (const auto& [sections, summary] : cases) {
    write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_TRUE(mapping.read("main", true)) << sections;
    EXPECT_EQ(TakePrinted(), "");
    EXPECT_EQ(Summary(mapping), summary) << sections;
    // What was merged is written as part of the mapping.
    std::istringstream written(Print(mapping));
    BaUnlockedMapping other;
    EXPECT_TRUE(other.scanFrom(written, true));
    EXPECT_EQ(other, mapping) << sections;
  }
}

TEST_F(BaMappingInclude, RefusesWhatDoesNotFit) {
  write("self", OneBody(Include("./self", 1)));
  write("a", OneBody(Include("b", 1)));
  write("b", OneBody(Include("a", 1)));
  for (const ErrorCase& c : ReadErrorCases("including-mappings.txt")) {
    write("main", OneBody(c.text));
    BaUnlockedMapping mapping;
    EXPECT_FALSE(mapping.read("main", true)) << c.text;
    EXPECT_EQ(TakePrinted(), PrintedError("Unable to read file 'main'.|" + c.lines)) << c.text;
  }
}

TEST_F(BaMappingInclude, RefusesMoreThanAnyoneHas) {
  // A chain of many files, and one in which each file includes the next one twice.
  for (int i = 0; i < 100; ++i) {
    const std::string next = std::to_string(i + 1);
    const std::string twice = Include("twice" + next, 0);
    write("deep" + std::to_string(i), OneBody(Include("deep" + next, 1)));
    write("twice" + std::to_string(i), MappingText(0, 0, twice + twice));
  }
  write("twice30", MappingText(0, 0, "#" + std::string(1 << 20, '!') + "\n"));
  // A small file of a long text.
  ASSERT_EQ(std::system(("(printf '" + MappingText(0, 0, "#") +
                         "'; head -c 64M /dev/zero) | gzip -1 >big.gz")
                            .c_str()),  // NOLINT(cert-env33-c)
            0);
  std::string big;
  for (int i = 0; i < 5; ++i) big += Include("big.gz", 0);
  const std::string too_large =
      "The files that are included come to more than 268435456 bytes.\n\n";
  const std::pair<std::string, std::string> cases[] = {
      {Include("deep0", 1), "Mapping file 'deep99' is included more than 100 levels deep.\n\n"},
      {big, too_large},
      {Include("twice0", 0), too_large},
  };
  for (const auto& [sections, printed_end] : cases) {
    write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_FALSE(mapping.read("main", true)) << sections;
    EXPECT_TRUE(TakePrinted().ends_with(printed_end)) << sections;
  }
}

TEST_F(BaMappingInclude, MergesMappingsInMemoryAlike) {
  BaUnlockedMapping one;
  BaUnlockedMapping mapping;
  BaUnlockedMapping included;
  write("main", OneBody(Include("one", 1) + Include("one", 7, "100")));
  ASSERT_TRUE(one.read("one", true) && included.read("main", true));
  write("main", OneBody(""));
  ASSERT_TRUE(mapping.read("main", true));
  EXPECT_TRUE(mapping.merge(one, 1) && mapping.merge(one, 7, 100));
  EXPECT_EQ(mapping, included);
  EXPECT_FALSE(mapping.merge(mapping, 0, 1000));
  EXPECT_EQ(TakePrinted(),
            PrintedError("The resulting mapping would contain two mappings for body id 1."));
  EXPECT_EQ(mapping, included);
}

TEST_F(BaMappingInclude, SavedNamesLeadToTheSameFiles) {
  std::filesystem::create_directories("from/sub");
  std::filesystem::create_directory("to");
  write("main", OneBody(Include("from/sub/../../one", 1) + Include(path("one"), 2)));
  BaUnlockedMapping mapping;
  BaUnlockedMapping merged;
  ASSERT_TRUE(mapping.read("main", false) && merged.read("main", true));
  const char* const names[][2] = {
      {"copy", "from/sub/../../one"}, {"to/copy", "../one"}, {"from/sub/copy", "../../one"}};
  for (const auto& [target, name] : names) {
    EXPECT_TRUE(mapping.save(target));
    BaUnlockedMapping copy;
    ASSERT_TRUE(copy.read(target, false));
    EXPECT_TRUE(copy.includes()[0].file_name == name) << copy.includes()[0].file_name;
    EXPECT_EQ(copy.includes()[1], mapping.includes()[1]);
    ASSERT_TRUE(copy.read(target, true));
    EXPECT_EQ(copy, merged);
  }
}

TEST_F(BaMappingInclude, StreamsFindTheirFilesInAFolder) {
  std::istringstream stage(OneBody(Include("fox.dof", 100, "7")));
  BaUnlockedMapping mapping;
  EXPECT_TRUE(mapping.scanFrom(stage, true, KESTRIX_SAMPLES));
  EXPECT_EQ(mapping.bodyMaps().count(), 23);
  EXPECT_EQ(mapping.numSysVars(), 71);
}

}  // namespace
