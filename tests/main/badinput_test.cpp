// What the program says of input that it refuses, and that it leaves nothing behind, also of input
// that no one meant to be converted, and where users change their minds.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <utility>

#include "builtscene.h"
#include "runprogram.h"
#include "support/legacyerrors.h"
#include "support/mappingtexts.h"

namespace {

const std::string kTriangle = " 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";
const std::string kGoodModel = kBasicModel + "F 1" + kTriangle;

class BadInput : public testing::Test {
 protected:
  BadInput() {
    _folder.write("good.mdl", kGoodModel);
    _folder.write("good.dof", OneBody(""));
  }

  // Runs the program on the folder, where every other run finds the output of an earlier one, and
  // expects this error: nothing new in the folder, and nothing lost.
  void expectError(const std::vector<std::string>& arguments, const std::string& lines) const {
    SCOPED_TRACE(lines);
    for (const bool had_output : {false, true}) {
      if (had_output) _folder.write("out.fbx", kOlder);
      const std::vector<std::string> names = _folder.names();
      const RunResult result = RunKestrix(arguments, _folder.path());
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.err, PrintedError(lines));
      EXPECT_EQ(_folder.names(), names);
      EXPECT_EQ(_folder.read("out.fbx"), had_output ? kOlder : "");
    }
    std::filesystem::remove(_folder.path("out.fbx"));
  }

  TestFolder _folder;
};

TEST_F(BadInput, FilesThatCannotBeReadOrWrittenAreNamed) {
  std::filesystem::create_directory(_folder.path("dir"));
  std::filesystem::permissions(_folder.write("locked", kGoodModel), std::filesystem::perms::none);
  std::filesystem::create_symlink("nowhere", _folder.path("dangling"));
  const std::string long_name(300, 'n');
  const auto unwritten = [](const std::string& name, const std::string& reason) {
    return "Unable to save the fbx.|Unable to write '" + name + "': " + reason + ".";
  };
  for (const std::string name : {"no.mdl", "", "dir", "dangling", "locked", "good.mdl/a"}) {
    if (name == "locked" && geteuid() == 0) continue;  // the superuser reads it
    expectError({name, "good.dof", "out.fbx"}, "Unable to open '" + name + "'.");
  }
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"no.mdl", "no.dof", "out.fbx"}, "Unable to open 'no.mdl'."},
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
      {{"good.mdl", "good.dof", "dir"}, unwritten("dir", "Is a directory")},
      {{"good.mdl", "good.dof", long_name},
       "Unable to save the fbx.|Unable to write|'" + long_name + "':|File name too long."},
      {{"good.mdl", "good.dof", "/dev/full"}, unwritten("/dev/full", "No space left on device")},
      {{"good.mdl", "good.dof", ""},
       "Unable to save the fbx.|Call to KFbxExporter::Initialize() failed.|"
       "Error returned: No file name is given."},
  };
  for (const auto& [arguments, lines] : cases) expectError(arguments, lines);
}

// Found before anything is made of the numbers: nothing is said of saving.
TEST_F(BadInput, PlacesBeyondAllNumbersAreRefused) {
  const std::string far = "1 0 0 0 1 0 0 0 1 2e38 0 -2e38";
  const std::string meshes = "F 2" + kTriangle + "F 1" + kTriangle;
  const struct {
    std::string model;
    std::string factor;
    std::string body;
  } cases[] = {
      {kGoodModel + BodyAt(2, "arm", 1, far) + "F 2" + kTriangle, "2.54", "arm"},
      {kHeader + "M 1 m\n0\n" + BodyAt(1, "leg", 0, far) + BodyAt(2, "arm", 1) + meshes, "2.54",
       "leg"},
      {kGoodModel + BodyAt(2, "arm", 1, "1 0 0 0 1 0 0 0 1 0 2 0") + "F 2" + kTriangle, "2e38",
       "arm"},
      {kGoodModel + BodyAt(2, "arm", 1, far), "2", "arm"},
  };
  for (const auto& c : cases) {
    _folder.write("far.mdl", c.model);
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{}, {"-mesh_per_body"}, {"-mb_version", "2010"}}) {
      expectError(Joined({{"-scale_factor", c.factor}, more, {"far.mdl", "good.dof", "out.fbx"}}),
                  "Unable to create the fbx scene.|Unable to write \"" + c.body +
                      "\": its transform is not finite.");
    }
  }
  // What is just within the numbers converts, chains of it and great points too.
  std::string chain = kGoodModel;
  for (int id = 2; id <= 40; ++id) {
    chain += BodyAt(id, "b" + std::to_string(id), id - 1, "1 0 0 0 1 0 0 0 1 3e38 0 0") + "F " +
             std::to_string(id) + " 1 3 0 0 0 -1 3e38 0 0 -1 0 3e38 0 -1\n";
  }
  _folder.write("chain.mdl", chain);
  const RunResult result =
      RunKestrix({"-scale_factor", "1", "chain.mdl", "good.dof", "out.fbx"}, _folder.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST_F(BadInput, WarningsLetTheRunGoOn) {
  const struct {
    std::string model, mapping, err;
  } cases[] = {
      {kGoodModel + "VF 1 1 1 0 0 0 -1\n", OneBody(""),
       "Unsupported Obj type 'V'\n" + PrintedWarning("Degnerate polygon in model.")},
      {kGoodModel + BodyAt(2, "big", 1, "2 0 0 0 2 0 0 0 2 0 0 0"), OneBody(""),
       PrintedWarning("The transform of body \"big\" is scaled.  The scale is not kept.")},
      {kGoodModel + "F 0" + kTriangle, OneBody(""),
       PrintedWarning("Polygons and bones of the world (body id 0) have no body in a model|"
                      "document.  They are left out.")},
      {kGoodModel, MappingText(9, 1, BodyRecord(1, 1)),
       PrintedWarning("Mapping file specifies 9 variables, but actually uses 6 variables.")},
      {kGoodModel + "M 3 glow\n7 1.5\n0\nF 1 3 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n", OneBody(""),
       PrintedWarning("Material \"glow\" has an alpha of 1.5.  It is taken as 1.")},
      {kGoodModel + "M 3 sky\n100 1 '' -1\n0\nP 1 3 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1\n",
       OneBody(""),
       PrintedWarning("Texture file '' of material \"sky\" cannot be read in '.'.  It is not|"
                      "embedded.")},
  };
  for (const auto& c : cases) {
    _folder.write("odd.mdl", c.model);
    _folder.write("odd.dof", c.mapping);
    _folder.write("out.fbx", kOlder);
    const RunResult result = RunKestrix({"odd.mdl", "odd.dof", "out.fbx"}, _folder.path());
    EXPECT_EQ(result.status, 0) << c.err;
    EXPECT_EQ(result.err, c.err);
    EXPECT_NE(_folder.read("out.fbx"), kOlder);
  }
}

// Converts the two texts. What was converted left an output, what was refused a message and nothing
// else.
RunResult Convert(const TestFolder& folder, const std::string& model, const std::string& mapping,
                  const std::vector<std::string>& options = {}) {
  folder.write("in.mdl", model);
  folder.write("in.dof", mapping);
  RunResult result = RunKestrix(Joined({options, {"in.mdl", "in.dof", "out.fbx"}}), folder.path());
  const bool refused = result.err.find("\n\nERROR: ") != std::string::npos;
  EXPECT_EQ(result.status, refused ? 1 : 0) << result.err;
  std::vector<std::string> names = {"in.dof", "in.mdl"};
  if (!refused) names.emplace_back("out.fbx");
  EXPECT_EQ(folder.names(), names);
  std::filesystem::remove(folder.path("out.fbx"));
  return result;
}

// Cuts in the middle of numbers, names, records and trees.
TEST(HostileInput, CutFilesConvertOrSayWhatIsMissing) {
  constexpr std::size_t kParts = 25;
  const TestFolder folder;
  for (const std::string sample : {"fox", "robot", "walker"}) {
    const std::string mapping = ReadFile(Sample(sample + ".dof"));
    for (std::size_t i = 0; i < kParts; ++i) {
      SCOPED_TRACE(sample + ", part " + std::to_string(i));
      for (const char* dialect : {".mdl", "-v2.mdl"}) {
        const std::string model = ReadFile(Sample(sample + dialect));
        Convert(folder, model.substr(0, model.size() * i / kParts), mapping);
      }
      const std::string cut = mapping.substr(0, mapping.size() * i / kParts);
      EXPECT_EQ(Convert(folder, kBasicModel, cut).status, 1);
    }
  }
}

TEST(HostileInput, LongChainsConvert) {
  const TestFolder folder;
  const std::pair<int, std::vector<std::string>> cases[] = {{100000, {}},
                                                            {20000, {"-mesh_per_body"}}};
  for (const auto& [bodies, arguments] : cases) {
    std::string model = kHeader + "M 1 m\n0\n";
    for (int id = 1; id <= bodies; ++id) {
      model += LegacyBody("b" + std::to_string(id), id, id - 1);
      model += "F " + std::to_string(id) + kTriangle;
    }
    EXPECT_EQ(Convert(folder, model, kEmptyDof, arguments).status, 0);
  }
}

// The first signal asks the program to stop, wherever it is; the second one ends it.
TEST(Cancel, LeavesNothingBehind) {
  std::string model = kBasicModel;
  for (int i = 0; i < 200000; ++i) model += "F 1" + kTriangle;
  const TestFolder folder;
  folder.write("in.mdl", model);
  folder.write("in.dof", kEmptyDof);
  int canceled = 0;
  for (const int milliseconds : {0, 0, -1, 5, -20, 50, 100, -150, 200, -300, 400, -500}) {
    folder.write("out.fbx", kOlder);
    StartedKestrix program({"in.mdl", "in.dof", "out.fbx"}, folder.path());
    program.waitForOutput();
    usleep(static_cast<useconds_t>(std::abs(milliseconds) * 1000));
    program.interrupt();
    if (milliseconds < 0) program.interrupt();
    const RunResult result = program.wait();
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.dof", "in.mdl", "out.fbx"}));
    if (result.status == 0) {  // it had ended, or had nothing left to be stopped
      EXPECT_EQ(result.err, "");
      EXPECT_NE(folder.read("out.fbx"), kOlder);
      continue;
    }
    EXPECT_EQ(folder.read("out.fbx"), kOlder);
    if (result.status == 128 + SIGINT && milliseconds < 0) continue;
    ++canceled;
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("\n\nERROR: ")) << result.err;
    EXPECT_TRUE(result.err.ends_with(" Canceled.\n\n")) << result.err;
  }
  EXPECT_GT(canceled, 0);
}

// Opening a pipe that nobody writes to, and reading one that stays empty or stops within a block.
TEST(Cancel, EndsTheWaitForAPipe) {
  const std::string document = "Zov Graphic Model File\nv2.00\nCOMMENT {\ntext\n";
  const struct {
    bool has_writer;
    const char* pipe;
    std::string text;
  } cases[] = {{false, "in.mdl", ""},
               {true, "in.mdl", ""},
               {true, "in.mdl", document},
               {true, "in.dof", kEmptyDof.substr(0, kEmptyDof.size() / 2)}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.pipe + row.text);
    const TestFolder folder;
    folder.write("in.mdl", kGoodModel);
    std::filesystem::remove(folder.path(row.pipe));
    ASSERT_EQ(mkfifo(folder.path(row.pipe).c_str(), 0600), 0);
    StartedKestrix program({"in.mdl", "in.dof", "out.fbx"}, folder.path());
    program.waitForOutput();
    const int writer =
        row.has_writer ? open(folder.path(row.pipe).c_str(), O_WRONLY | O_CLOEXEC) : -1;
    if (!row.text.empty()) {
      EXPECT_GT(write(writer, row.text.data(), row.text.size()), 0);
    }
    usleep(300000);
    program.interrupt();
    const RunResult result = program.wait();
    if (row.has_writer) close(writer);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, PrintedError("Canceled."));
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.fbx")));
  }
}

// Included files that would keep the reader waiting, or that unpack to more than any model needs.
TEST(Includes, AreRegularFilesOfALimitedSize) {
  const TestFolder folder;
  folder.write("good.mdl", kGoodModel);
  folder.write("good.dof", kEmptyDof);
  folder.write("x.gz", "");
  const std::string program = folder.write(
      "bin/gunzip", "#!/bin/sh\nprintf 'Zov Graphic Model File\\nv2.00\\nEND:\\n'\nexec yes\n");
  std::filesystem::permissions(program, std::filesystem::perms(0755));
  const std::string old_path = std::getenv("PATH");
  setenv("PATH", (folder.path("bin:") + old_path).c_str(), 1);
  ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("fifo", folder.path("fifo.gz"));
  for (const std::string name : {"fifo", "fifo.gz", "/dev/zero", "/dev/tty", "x.gz"}) {
    SCOPED_TRACE(name);
    folder.write("in.mdl",
                 "Zov Graphic Model File\nv2.00\nINCLUDE {\n  FILE_NAME: " + name + "\n}\nEND:\n");
    const RunResult result = RunKestrix({"in.mdl", "good.dof", "out.fbx"}, folder.path());
    EXPECT_EQ(result.status, 1);
    const char* const reason = name == "x.gz" ? "come to more than 268435456 bytes" : name.c_str();
    EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.fbx")));
  }
  setenv("PATH", old_path.c_str(), 1);
}

TEST(Output, IsNoneOfTheFilesThatWereRead) {
  const TestFolder folder;
  std::filesystem::copy(Sample("robot-v2.mdl"), folder.path("sub.mdl"));
  folder.write("in.mdl", "Zov Graphic Model File\nv2.00\nINCLUDE {\n  FILE_NAME: sub.mdl\n}\n");
  std::filesystem::copy(Sample("robot.dof"), folder.path("in.dof"));
  std::filesystem::create_symlink("sub.mdl", folder.path("link"));
  std::filesystem::create_hard_link(folder.path("in.dof"), folder.path("hard"));
  for (const std::string output : {"in.mdl", "./in.dof", "sub.mdl", "link", "hard"}) {
    const std::string before = folder.read(output);
    const RunResult result = RunKestrix({"in.mdl", "in.dof", output}, folder.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              PrintedError("The output '" + output + "' is one of the files that were read."));
    EXPECT_EQ(folder.read(output), before);
  }
}

TEST(Output, StandardOutputThatTakesNothingIsAnError) {
  const TestFolder folder;
  folder.write("in.mdl", kGoodModel);
  folder.write("in.dof", kEmptyDof);
  for (const std::string arguments : {"", " in.mdl in.dof out.fbx"}) {
    const std::string command =
        "cd " + folder.path() + " && " KESTRIX_PROGRAM + arguments + " >/dev/full 2>err";
    const int status = std::system(command.c_str());  // NOLINT(cert-env33-c)
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_NE(folder.read("err").find("Unable to write to standard output."), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.fbx")));
  }
}

}  // namespace
