#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bamapping.h"
#include "support/mappingtexts.h"
#include "support/printed.h"

namespace {

namespace fs = std::filesystem;

void Write(const std::string& name, const std::string& text) { std::ofstream(name) << text; }

// Works in an empty folder of its own, with two mappings to include: "one" has one body, "looks" a
// texture and a slider with the variables 1 and 2.
class BaMappingInclude : public testing::Test {
 protected:
  BaMappingInclude() : _old_path(fs::current_path()) {
    std::string pattern = testing::TempDir() + "mappingXXXXXX";
    _path = mkdtemp(pattern.data());
    fs::current_path(_path);
    Write("one", OneBody(""));
    Write("looks", MappingText(0, 0,
                               "MATERIAL_TEXTURE_INDEX_MAPS {\n4 1\n}\n"
                               "BLEND_EFFECT_MAP {\nSLIDER_GROUP: g\nSLIDERS {\ns 2\n}\n}\n"));
  }
  ~BaMappingInclude() override {
    fs::current_path(_old_path);
    fs::remove_all(_path);
  }

  fs::path _old_path;
  fs::path _path;
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
  fs::create_directory("deep");
  Write("zero", MappingText(0, 1, "1 1 2 3 4 5 6 0 -1 1 0 0 0 0\n"));
  Write("deep/two", OneBody(Include("../one", 1)));
  Write("deep/three", OneBody(Include("two", 1)));
  const std::pair<std::string, const char*> cases[] = {
      // Without an offset variables follow on those used so far.
      {Include("one", 1) + Include("one", 2), "1:1 2:7 3:13 18"},
      {Include("one", 9, "50") + Include("one", 1, "-1"), "1:1 10:51 2:57 62"},
      // Gaps may be filled later on.
      {Include("one", 1, "50") + Include("one", 2, "6"), "1:1 2:51 3:7 56"},
      {Include(_path / "one", 1), "1:1 2:7 12"},
      {Include("deep/three", 1), "1:1 2:7 3:13 4:19 24"},
      // What nothing drives stays so, and clashes with nothing.
      {Include("zero", 1, "0") + Include("zero", 2, "-100"), "1:1 2:0 3:0 6"},
      // Variables of sliders and textures are moved, and are in the way of others.
      {Include("looks", 1) + Include("one", 1), "1:1 2:9 t:7 s:8 14"},
  };
  for (const auto& [sections, summary] : cases) {
    Write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_TRUE(mapping.read("main", true)) << sections;
    EXPECT_EQ(TakePrinted(), "");
    EXPECT_EQ(Summary(mapping), summary) << sections;
    // What was merged is written as part of the mapping.
    std::stringstream written;
    written << mapping;
    BaUnlockedMapping other;
    EXPECT_TRUE(other.scanFrom(written, true));
    EXPECT_EQ(other, mapping) << sections;
  }
}

TEST_F(BaMappingInclude, RefusesWhatDoesNotFit) {
  Write("self", OneBody(Include("./self", 1)));
  Write("a", OneBody(Include("b", 1)));
  Write("b", OneBody(Include("a", 1)));
  // A chain of many files, and one in which each file includes the next one twice.
  for (int i = 0; i < 100; ++i) {
    const std::string next = std::to_string(i + 1);
    const std::string twice = Include("twice" + next, 0);
    Write("deep" + std::to_string(i), OneBody(Include("deep" + next, 1)));
    Write("twice" + std::to_string(i), MappingText(0, 0, twice + twice));
  }
  // A small file of a long text.
  ASSERT_EQ(std::system(("(printf '" + MappingText(0, 0, "#") +
                         "'; head -c 64M /dev/zero) | gzip -1 >big.gz")
                            .c_str()),  // NOLINT(cert-env33-c)
            0);
  std::string big;
  for (int i = 0; i < 5; ++i) big += Include("big.gz", 0);
  Write("twice30", MappingText(0, 0, "#" + std::string(1 << 20, '!') + "\n"));
  const char* const overlap = "The resulting mapping would have overlapping system variable ids.";
  const std::pair<std::string, const char*> cases[] = {
      {Include("no", 1), "|Unable to include sub-mapping.|Unable to open file 'no'."},
      {Include(".", 1), "|Unable to include sub-mapping.|Unable to open file '.'."},
      {Include("main", 1), "|Unable to include sub-mapping.|Mapping file 'main' includes itself."},
      {Include("self", 1), "Mapping file './self' includes itself."},
      {Include("a", 1),
       "|Unable to include sub-mapping.|Unable to read file 'a'.|Unable to include sub-mapping."
       "|Unable to read file 'b'.|Unable to include sub-mapping."
       "|Mapping file 'a' includes itself."},
      {Include("one", 1, "5"), overlap},
      {Include("one", 1) + Include("looks", 2, "10"), overlap},
      {Include("one", 1, "2147483642"),
       "The resulting system variable id 2147483648 would be invalid."},
      {Include("one", 1, "-6"), "The resulting system variable id 0 would be invalid."},
      {Include("one", 2147483647), "The resulting body id 2147483648 would be invalid."},
      {Include("one", -1), "The resulting body id 0 would be invalid."},
      {Include("one", 4) + Include("one", 4),
       "The resulting mapping would contain two mappings for body id 5."},
      {Include("deep0", 1), "Mapping file 'deep99' is included more than 100 levels deep."},
      {big, "The files that are included come to more than 268435456 bytes."},
      {Include("twice0", 0), "The files that are included come to more than 268435456 bytes."},
  };
  for (const auto& [sections, printed_end] : cases) {
    Write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_FALSE(mapping.read("main", true)) << sections;
    const std::string printed = TakePrinted();
    EXPECT_TRUE(printed.starts_with("\n\nERROR: Unable to read file 'main'.\n")) << printed;
    EXPECT_TRUE(printed.ends_with(IndentedLines(7, printed_end) + "\n\n")) << printed;
  }
}

TEST_F(BaMappingInclude, MergesMappingsInMemoryAlike) {
  BaUnlockedMapping one;
  BaUnlockedMapping mapping;
  BaUnlockedMapping included;
  Write("main", OneBody(Include("one", 1) + Include("one", 7, "100")));
  ASSERT_TRUE(one.read("one", true) && included.read("main", true));
  Write("main", OneBody(""));
  ASSERT_TRUE(mapping.read("main", true));
  EXPECT_TRUE(mapping.merge(one, 1) && mapping.merge(one, 7, 100));
  EXPECT_EQ(mapping, included);
  EXPECT_FALSE(mapping.merge(mapping, 0, 1000));
  EXPECT_EQ(TakePrinted(),
            PrintedError("The resulting mapping would contain two mappings for body id 1."));
  EXPECT_EQ(mapping, included);
}

TEST_F(BaMappingInclude, SavedNamesLeadToTheSameFiles) {
  fs::create_directories("from/sub");
  fs::create_directory("to");
  Write("main", OneBody(Include("from/sub/../../one", 1) + Include(_path / "one", 2)));
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

TEST_F(BaMappingInclude, ReadsTheSamples) {
  const std::pair<const char*, int> samples[] = {{"fox", 64}, {"robot", 108}, {"walker", 193}};
  for (const auto& [name, num_vars] : samples) {
    BaUnlockedMapping mapping;
    EXPECT_TRUE(mapping.read(BtFormat(KESTRIX_SAMPLES "/%s.dof", name), true)) << name;
    EXPECT_EQ(TakePrinted(), "") << name;
    EXPECT_EQ(mapping.numSysVars(), num_vars) << name;
  }
  std::istringstream stage(OneBody(Include("fox.dof", 100, "7")));
  BaUnlockedMapping mapping;
  EXPECT_TRUE(mapping.scanFrom(stage, true, KESTRIX_SAMPLES));
  EXPECT_EQ(mapping.bodyMaps().count(), 23);
  EXPECT_EQ(mapping.numSysVars(), 71);
}

}  // namespace
