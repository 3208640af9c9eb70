// What the program says of input that it refuses, and that it leaves nothing behind.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "builtscene.h"
#include "runprogram.h"
#include "support/legacyerrors.h"
#include "support/mappingtexts.h"

namespace {

using Files = std::vector<std::pair<std::string, std::string>>;  // name and content

constexpr const char* kRows = "1 0 0 0 1 0 0 0 1 0 0 0";
const std::string kGoodModel = kBasicModel + "F 1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";

// A model of body 1 and these records.
std::string Model(const std::string& records) { return kGoodModel + records; }

class BadInput : public testing::Test {
 protected:
  BadInput() { write({{"good.mdl", kGoodModel}, {"good.dof", OneBody("")}}); }

  void write(const Files& files) const {
    for (const auto& [name, content] : files) _folder.write(name, content);
  }

  // Runs the program on the folder and expects this error: nothing new in the folder, and nothing
  // lost.
  void expectError(const std::vector<std::string>& arguments, const std::string& lines) const {
    const std::vector<std::string> names = _folder.names();
    const RunResult result = RunKestrix(arguments, _folder.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, PrintedError(lines));
    EXPECT_EQ(_folder.names(), names);
    const bool had_output = std::find(names.begin(), names.end(), "out.fbx") != names.end();
    EXPECT_EQ(_folder.read("out.fbx"), had_output ? kOlder : "");
  }

  // Every other run finds the output of an earlier one.
  void toggleOlderOutput() const {
    if (!std::filesystem::remove(_folder.path("out.fbx"))) write({{"out.fbx", kOlder}});
  }

  TestFolder _folder;
};

TEST_F(BadInput, FilesThatCannotBeReadOrWrittenAreNamed) {
  std::filesystem::create_directory(_folder.path("dir"));
  write({{"locked", kGoodModel}});
  std::filesystem::permissions(_folder.path("locked"), std::filesystem::perms::none);
  std::filesystem::create_symlink("nowhere", _folder.path("dangling"));
  const std::string long_name(300, 'n');
  const auto unwritten = [](const std::string& name, const std::string& reason) {
    return "Unable to save the fbx.|Unable to write '" + name + "': " + reason + ".";
  };
  const struct {
    std::vector<std::string> arguments;
    std::string lines;
  } cases[] = {
      {{"no.mdl", "no.dof", "out.fbx"}, "Unable to open 'no.mdl'."},
      {{"", "no.dof", "out.fbx"}, "Unable to open ''."},
      {{"dir", "good.dof", "out.fbx"}, "Unable to open 'dir'."},
      {{"dangling", "good.dof", "out.fbx"}, "Unable to open 'dangling'."},
      {{"locked", "good.dof", "out.fbx"}, "Unable to open 'locked'."},
      {{"good.mdl/a", "good.dof", "out.fbx"}, "Unable to open 'good.mdl/a'."},
      // Opens, but every read of it fails.
      {{"/proc/self/mem", "good.dof", "out.fbx"},
       "Unable to read '/proc/self/mem'.|File is not a valid Zov Graphic Model File.|"
       "Unable to read from file."},
      {{"good.dof", "good.dof", "out.fbx"},
       "Unable to read 'good.dof'.|File is not a valid Zov Graphic Model File.|"
       "Invalid datafile type."},
      {{"good.mdl", "no.dof", "out.fbx"}, "Unable to open file 'no.dof'."},
      {{"good.mdl", "dir", "out.fbx"}, "Unable to open file 'dir'."},
      {{"good.mdl", "/proc/self/mem", "out.fbx"},
       "Unable to read file '/proc/self/mem'.|Unable to read file.|Invalid datafile.|"
       "Unable to validate datafile header.|Error reading file."},
      {{"-mb_version", "2012", "good.mdl", "good.dof", "out.fbx"},
       "Unsupported MB version \"2012\"."},
      {{"good.mdl", "good.dof", "no/out.fbx"},
       unwritten("no/out.fbx", "No such file or directory")},
      {{"good.mdl", "good.dof", "good.mdl/out.fbx"},
       unwritten("good.mdl/out.fbx", "Not a directory")},
      {{"good.mdl", "good.dof", "dir"}, unwritten("dir", "Is a directory")},
      {{"good.mdl", "good.dof", long_name},
       "Unable to save the fbx.|Unable to write|'" + long_name + "':|File name too long."},
      {{"good.mdl", "good.dof", "/dev/full"}, unwritten("/dev/full", "No space left on device")},
      {{"good.mdl", "good.dof", ""},
       "Unable to save the fbx.|Call to KFbxExporter::Initialize() failed.|"
       "Error returned: No file name is given."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lines);
    if (c.arguments[0] == "locked" && geteuid() == 0) continue;  // the superuser reads it
    for (int run = 0; run < 2; ++run) {
      toggleOlderOutput();
      expectError(c.arguments, c.lines);
    }
  }
}

TEST_F(BadInput, ModelsThatDoNotConvertSayWhy) {
  write({{"part.dof", MappingText(6, 1, BodyRecord(1, 1))}});
  const struct {
    std::string model;
    std::string mapping;
    std::string lines;
  } cases[] = {
      {kGoodModel, MappingText(6, 1, BodyRecord(2, 1)),
       "The dof specifies a body with id 2, but there is no such body in the|model."},
      {kGoodModel, IncludeBlock("FILE_NAME: part.dof\nBODY_ID_OFFSET: 1"),
       "The dof specifies a body with id 2, but there is no such body in the|model."},
      {Model(BodyAt(2, "left arm", 1, kRows) + BodyAt(3, "left_arm", 0, kRows)), OneBody(""),
       "Multiple bodies have name \"left_arm\"."},
      {Model(BodyAt(2, "GLOBAL", 1, kRows)), OneBody(""),
       "A body cannot have the name \"GLOBAL\"."},
      {Model(BodyAt(2, "mirror", 1, "1 0 0 0 1 0 0 0 -1 0 0 0")), OneBody(""),
       "Body \"mirror\" has a left-handed or degenerate transform."},
      {Model(BodyAt(2, "flat", 1, "1 0 0 0 0 0 0 0 1 0 0 0")), OneBody(""),
       "Body \"flat\" has a left-handed or degenerate transform."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.lines);
    toggleOlderOutput();
    write({{"bad.mdl", c.model}, {"bad.dof", c.mapping}});
    expectError({"bad.mdl", "bad.dof", "out.fbx"}, c.lines);
  }
}

TEST_F(BadInput, WarningsLetTheRunGoOn) {
  const struct {
    std::string model;
    std::string mapping;
    std::string err;
  } cases[] = {
      {Model("VF 1 1 1 0 0 0 -1\n"), OneBody(""),
       "Unsupported Obj type 'V'\n" + PrintedWarning("Degnerate polygon in model.")},
      {Model(BodyAt(2, "big", 1, "2 0 0 0 2 0 0 0 2 0 0 0")), OneBody(""),
       PrintedWarning("The transform of body \"big\" is scaled.  The scale is not kept.")},
      {Model("F 0 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n"), OneBody(""),
       PrintedWarning("Polygons and bones of the world (body id 0) have no body in a model|"
                      "document.  They are left out.")},
      {kGoodModel, MappingText(9, 1, BodyRecord(1, 1)),
       PrintedWarning("Mapping file specifies 9 variables, but actually uses 6 variables.")},
      {Model("M 3 glow\n7 1.5\n0\nF 1 3 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n"), OneBody(""),
       PrintedWarning("Material \"glow\" has an alpha of 1.5.  It is taken as 1.")},
  };
  for (const auto& c : cases) {
    write({{"odd.mdl", c.model}, {"odd.dof", c.mapping}, {"out.fbx", kOlder}});
    const RunResult result = RunKestrix({"odd.mdl", "odd.dof", "out.fbx"}, _folder.path());
    EXPECT_EQ(result.status, 0) << c.err;
    EXPECT_EQ(result.err, c.err);
    EXPECT_NE(_folder.read("out.fbx"), kOlder);
  }
}

}  // namespace
