#include "Ba/bamapping.h"
#include "Ba/modeltexts.h"
#include "Bt/workingfolder.h"
#include "support/mappingtexts.h"

namespace {

// Mappings to include, all but "looks" of one body: that has a texture and a slider, with the
// variables 1 and 2.
class BaMappingInclude : public WorkingFolder {
 protected:
  BaMappingInclude() {
    std::filesystem::copy(KESTRIX_TEST_DATA "/models/mappings", ".",
                          std::filesystem::copy_options::recursive);
  }
};

std::string Include(const std::string& name, int body_offset, const std::string& var_offset = "") {
  return "INCLUDE {\nFILE_NAME: " + name + "\nBODY_ID_OFFSET: " + std::to_string(body_offset) +
         (var_offset.empty() ? "" : "\nSYSTEM_VARIABLE_ID_OFFSET: " + var_offset) + "\n}\n";
}

TEST_F(BaMappingInclude, MergesWhatIsIncluded) {
  for (const auto& [sections, written] : ReadErrorCases("included-mappings.txt")) {
    _folder.write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_TRUE(mapping.read("main", true)) << sections;
    EXPECT_EQ(TakePrinted(), "");
    EXPECT_EQ(Print(mapping), written) << sections;
  }
}

TEST_F(BaMappingInclude, RefusesWhatDoesNotFit) {
  for (const ErrorCase& c : ReadErrorCases("including-mappings.txt")) {
    _folder.write("main", OneBody(c.text));
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
    _folder.write("deep" + std::to_string(i), OneBody(Include("deep" + next, 1)));
    _folder.write("twice" + std::to_string(i), MappingText(0, 0, twice + twice));
  }
  _folder.write("twice30", MappingText(0, 0, "#" + std::string(1 << 20, '!') + "\n"));
  const std::pair<std::string, std::string> cases[] = {
      {Include("deep0", 1), "Mapping file 'deep99' is included more than 100 levels deep.\n\n"},
      {Include("twice0", 0), "The files that are included come to more than 268435456 bytes.\n\n"},
  };
  for (const auto& [sections, printed_end] : cases) {
    _folder.write("main", OneBody(sections));
    BaUnlockedMapping mapping;
    EXPECT_FALSE(mapping.read("main", true)) << sections;
    EXPECT_TRUE(TakePrinted().ends_with(printed_end)) << sections;
  }
}

TEST_F(BaMappingInclude, MergesMappingsInMemoryAlike) {
  BaUnlockedMapping one;
  BaUnlockedMapping included;
  _folder.write("main", OneBody(Include("one", 1) + Include("one", 7, "100")));
  ASSERT_TRUE(one.read("one", true) && included.read("main", true));
  BaUnlockedMapping mapping = one;
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
  _folder.write("main",
                OneBody(Include("from/sub/../../one", 1) + Include(_folder.path("one"), 2)));
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

TEST_F(BaMappingInclude, NamesThatWouldNotComeBackAreErrors) {
  _folder.write("out", "older");
  for (const std::string folder : {"d#1", "d}1", " d"}) {
    _folder.write(folder + "/main", OneBody(Include("sub", 1)));
    BaUnlockedMapping mapping;
    ASSERT_TRUE(mapping.read((folder + "/main").c_str(), false));
    EXPECT_TRUE(mapping.save((folder + "/copy").c_str()));
    EXPECT_FALSE(mapping.save("out"));
    EXPECT_EQ(TakePrinted(), PrintedError("Unable to write file 'out'.|The name \"" + folder +
                                          "/sub\" cannot be written to a mapping file."));
    EXPECT_EQ(_folder.read("out"), "older");
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
