// What the program says of input that it refuses, and that it leaves nothing behind: the library's
// tables of bad files, and the failures of the conversion itself.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <utility>

#include "builtscene.h"
#include "runprogram.h"
#include "support/documenterrors.h"
#include "support/legacyerrors.h"
#include "support/mappingerrors.h"
#include "support/mappingtexts.h"

namespace {

using Files = std::vector<std::pair<std::string, std::string>>;  // name and content

constexpr const char* kRows = "1 0 0 0 1 0 0 0 1 0 0 0";
const std::string kGoodModel = kBasicModel + "F 1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
const std::string kOlder = "what an earlier run wrote";

// A model of body 1 and these records.
std::string Model(const std::string& records) { return kGoodModel + records; }

class BadInput : public testing::Test {
 protected:
  BadInput() { write({{"good.mdl", kGoodModel}, {"good.dof", OneBody("")}}); }

  void write(const Files& files) const {
    for (const auto& [name, content] : files) (void)_folder.write(name, content);
  }

  // Runs the program on the folder and expects this failure: nothing new in the folder, and
  // nothing lost.
  void expectFailure(const std::vector<std::string>& arguments, int status,
                     const std::string& err) const {
    const std::vector<std::string> names = _folder.names();
    const RunResult result = RunKestrix(arguments, _folder.path(""));
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(_folder.names(), names);
    if (_folder.has("out.fbx")) {
      EXPECT_EQ(ReadFile(_folder.path("out.fbx")), kOlder);
    }
  }

  // Every other run finds the output of an earlier one.
  void toggleOlderOutput() const {
    if (!std::filesystem::remove(_folder.path("out.fbx"))) write({{"out.fbx", kOlder}});
  }

  TestFolder _folder;
};

TEST_F(BadInput, ModelsAreRefusedAsTheLibraryRefusesThem) {
  std::vector<ErrorCase> cases = LegacyErrors();
  for (ErrorCase& c : DocumentErrors()) cases.push_back(std::move(c));
  for (const ErrorCase& c : cases) {
    SCOPED_TRACE(c.text);
    toggleOlderOutput();
    write({{"bad.mdl", c.text}});
    expectFailure({"bad.mdl", "good.dof", "out.fbx"}, 1,
                  PrintedError("Unable to read 'bad.mdl'.|" + c.lines));
  }
}

TEST_F(BadInput, MappingsAreRefusedAsTheLibraryRefusesThem) {
  for (const ErrorCase& c : MappingErrors()) {
    SCOPED_TRACE(c.text);
    toggleOlderOutput();
    write({{"bad.dof", c.text}});
    expectFailure({"good.mdl", "bad.dof", "out.fbx"}, 1,
                  PrintedError("Unable to read file 'bad.dof'.|" + c.lines));
  }
}

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
      expectFailure(c.arguments, 1, PrintedError(c.lines));
    }
  }
}

TEST_F(BadInput, ModelsThatDoNotConvertSayWhy) {
  write({{"part.dof", MappingText(6, 1, BodyRecord(1, 1))}});
  const auto included = [](const std::string& name) {
    return OneBody("INCLUDE {\nFILE_NAME: " + name + "\nBODY_ID_OFFSET: 1\n}\n");
  };
  const std::string sub = "Unable to read file 'bad.dof'.|Unable to include sub-mapping.|";
  const struct {
    std::string model;
    std::string mapping;
    std::string lines;
  } cases[] = {
      {kGoodModel, MappingText(6, 1, BodyRecord(2, 1)),
       "The dof specifies a body with id 2, but there is no such body in the|model."},
      {kGoodModel, included("part.dof"),
       "The dof specifies a body with id 2, but there is no such body in the|model."},
      {kGoodModel, included("bad.dof"), sub + "Mapping file 'bad.dof' includes itself."},
      {kGoodModel, included("no.dof"), sub + "Unable to open file 'no.dof'."},
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
    expectFailure({"bad.mdl", "bad.dof", "out.fbx"}, 1, PrintedError(c.lines));
  }
}

// Tells what it has read of the block before the error.
TEST_F(BadInput, BlocksWithoutAnEndAreShown) {
  write({{"bad.mdl", kDocumentHeader + "BODY {\n  NAME: a\n  X {\n"}});
  expectFailure({"bad.mdl", "good.dof", "out.fbx"}, 1,
                "Hit eof: NAME: a\nX {\n\n" +
                    PrintedError("Unable to read 'bad.mdl'.|"
                                 "Hit end of file without reading '}' for tag BODY"));
}

TEST_F(BadInput, WarningsLetTheRunGoOn) {
  const std::string decal = "M 3 coat\n100 1 'no.png' -1\n0\n";
  const std::string painted = "P 1 3 3 0 0 0 0 0 -1 1 0 1 0 0 -1 0 1 0 1 0 -1\n";
  const auto document = [](const std::string& lists) {
    return kDocumentHeader + DocumentBody("a", "GLOBAL") + "MATERIAL {\nNAME: m\n}\n" +
           DocumentShape("a", "m", "", lists);
  };
  const struct {
    std::string model;
    std::string mapping;
    std::string err;
  } cases[] = {
      {document("POLYGONS {\n1 2 2 3\n}\n"), OneBody(""),
       PrintedWarning("Duplicate vertex in polygon removed.")},
      {document("TEXTURED_POLYGONS {\n1/1 2/1 3/1 1/2\n2/1 3/2\n}\n"), OneBody(""),
       PrintedWarning("Degenerate polygon removed.|Duplicate vertex in textured polygon removed.")},
      {document("POLYGONS {\n1 2 3\n1 4 2\n}\n"), OneBody(""),
       PrintedWarning(
           "Degenerate polygon removed|Duplicate vertex coordinates in polygon removed.")},
      {document("TEXTURED_POLYGONS {\n1/1 2/1 3/1\n4/1 1/1 2/1\n}\n"), OneBody(""),
       PrintedWarning(
           "Degenerate polygon removed.|Duplicate vertex coordinates in polygon removed.")},
      {document("") + "VERTICES {\nNAME: a_v\n}\n", OneBody(""),
       PrintedWarning("Multiple vertex sets have name \"a_v\".  The first one counts.")},
      {Model("F 1 1 3 0 0 0 -1 0 0 0 -1 1 0 0 -1\n"), OneBody(""),
       PrintedWarning("Degnerate polygon in model.|Duplicate vertex removed in polygon.")},
      {Model("VF 1 1 1 0 0 0 -1\n"), OneBody(""),
       "Unsupported Obj type 'V'\n" + PrintedWarning("Degnerate polygon in model.")},
      {Model("I 1 1 104 200 30 0\n"), OneBody(""),
       PrintedWarning("Spot light exponent (200.000000) should be between 0.0 and 128.0. |"
                      "Value clipped to 128.000000.|Warning while reading light id 1.")},
      {Model(BodyAt(2, "big", 1, "2 0 0 0 2 0 0 0 2 0 0 0")), OneBody(""),
       PrintedWarning("The transform of body \"big\" is scaled.  The scale is not kept.")},
      {Model("F 0 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n"), OneBody(""),
       PrintedWarning("Polygons and bones of the world (body id 0) have no body in a model|"
                      "document.  They are left out.")},
      {kGoodModel, MappingText(9, 1, BodyRecord(1, 1)),
       PrintedWarning("Mapping file specifies 9 variables, but actually uses 6 variables.")},
      {Model("M 3 glow\n7 1.5\n0\nF 1 3 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n"), OneBody(""),
       PrintedWarning("Material \"glow\" has an alpha of 1.5.  It is taken as 1.")},
      {Model(decal + painted), OneBody(""),
       PrintedWarning("Texture file 'no.png' of material \"coat\" cannot be read in '.'.  It is|"
                      "not embedded.")},
  };
  for (const auto& c : cases) {
    write({{"odd.mdl", c.model}, {"odd.dof", c.mapping}, {"out.fbx", kOlder}});
    const RunResult result = RunKestrix({"odd.mdl", "odd.dof", "out.fbx"}, _folder.path(""));
    EXPECT_EQ(result.status, 0) << c.err;
    EXPECT_EQ(result.err, c.err);
    EXPECT_NE(ReadFile(_folder.path("out.fbx")), kOlder);
  }
}

TEST_F(BadInput, AMapWithoutThreeRotationsStopsTheProgram) {
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  write({{"bad.dof", DofWithOrder("4 4 6 1 2 3")}});
  const RunResult result = RunKestrix({"good.mdl", "bad.dof", "out.fbx"}, _folder.path(""));
  EXPECT_EQ(result.status, 134) << "ended by abort()";
  EXPECT_EQ(result.out, "Reading good.mdl\nConverting to fbx...\n");
  EXPECT_NE(result.err.find("main/skeleton.cpp"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("`order_str==\"ZYX\"'"), std::string::npos) << result.err;
  EXPECT_EQ(_folder.names(), (std::vector<std::string>{"bad.dof", "good.dof", "good.mdl"}));
}

}  // namespace
