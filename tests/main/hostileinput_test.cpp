// Input that no one meant to be converted, and users who change their minds: the program must end
// by itself, with a file or with a message.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "builtscene.h"
#include "runprogram.h"
#include "support/legacyerrors.h"

namespace {

constexpr const char* kTriangle = " 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";

// Converts the two texts. What was converted left an output, what was refused a message and nothing
// else.
RunResult Convert(const TestFolder& folder, const std::string& model, const std::string& mapping,
                  std::vector<std::string> arguments = {}) {
  folder.write("in.mdl", model);
  folder.write("in.dof", mapping);
  arguments.insert(arguments.end(), {"in.mdl", "in.dof", "out.fbx"});
  RunResult result = RunKestrix(arguments, folder.path());
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
  const auto convert_chain = [&folder](int bodies, const std::vector<std::string>& arguments) {
    std::string model = kHeader + "M 1 m\n0\n";
    for (int id = 1; id <= bodies; ++id) {
      model += LegacyBody("b" + std::to_string(id), id, id - 1);
      model += "F " + std::to_string(id) + kTriangle;
    }
    return Convert(folder, model, kEmptyDof, arguments);
  };
  EXPECT_EQ(convert_chain(100000, {}).status, 0);
  EXPECT_EQ(convert_chain(20000, {"-mesh_per_body"}).status, 0);
}

// The first signal asks the program to stop, wherever it is; the second one ends it.
TEST(Cancel, LeavesNothingBehind) {
  std::string model = kBasicModel;
  for (int i = 0; i < 200000; ++i) model += std::string("F 1") + kTriangle;
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

}  // namespace
