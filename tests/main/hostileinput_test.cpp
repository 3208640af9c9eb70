// Input that no one meant to be converted, and users who change their minds: the program must end
// by itself, with a file or with a message.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <random>

#include "builtscene.h"
#include "runprogram.h"
#include "support/legacyerrors.h"
#include "support/mappingtexts.h"

namespace {

constexpr const char* kSamples[] = {"fox", "robot", "walker"};
constexpr const char* kTriangle = " 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";

// Converts the two texts. What was converted left an output, what was refused a message and nothing
// else.
RunResult Convert(const TestFolder& folder, const std::string& model, const std::string& mapping,
                  std::vector<std::string> arguments = {}) {
  (void)folder.write("in.mdl", model);
  (void)folder.write("in.dof", mapping);
  arguments.insert(arguments.end(), {"in.mdl", "in.dof", "out.fbx"});
  RunResult result = RunKestrix(arguments, folder.path(""));
  const bool refused = result.err.find("\n\nERROR: ") != std::string::npos;
  EXPECT_EQ(result.status, refused ? 1 : 0) << result.err;
  const std::vector<std::string> without = {"in.dof", "in.mdl"};
  const std::vector<std::string> with = {"in.dof", "in.mdl", "out.fbx"};
  EXPECT_EQ(folder.names(), refused ? without : with);
  std::filesystem::remove(folder.path("out.fbx"));
  return result;
}

TEST(HostileInput, NoiseIsRefused) {
  const TestFolder folder;
  std::mt19937 random(4711);
  const auto noise = [&random](unsigned characters) {
    std::string text(random() % 3000, '\0');
    for (char& c : text) c = static_cast<char>(random() % characters);
    return text;
  };
  const std::string mapping_head = "Zov Graphic Mapping File\nv1.0\n";
  for (int i = 0; i < 8; ++i) {
    SCOPED_TRACE(i);
    const unsigned characters = i % 2 == 0 ? 256 : 128;
    EXPECT_EQ(Convert(folder, noise(characters), kEmptyDof).status, 1);
    EXPECT_EQ(Convert(folder, kBasicModel, noise(characters)).status, 1);
    (void)Convert(folder, kBasicModel + noise(characters), kEmptyDof);
    (void)Convert(folder, "Zov Graphic Model File\nv2.00\n" + noise(characters), kEmptyDof);
    (void)Convert(folder, kBasicModel, mapping_head + noise(characters));
    (void)Convert(folder, kBasicModel, OneBody(noise(characters)));
  }
  EXPECT_EQ(Convert(folder, "", kEmptyDof).status, 1);
  EXPECT_EQ(Convert(folder, kBasicModel, "").status, 1);
}

// Cuts in the middle of numbers, names, records and trees.
TEST(HostileInput, CutFilesConvertOrSayWhatIsMissing) {
  const TestFolder folder;
  for (const char* sample : kSamples) {
    const std::string mapping = ReadFile(Sample(sample + std::string(".dof")));
    for (const char* dialect : {".mdl", "-v2.mdl"}) {
      const std::string model = ReadFile(Sample(sample + std::string(dialect)));
      ASSERT_FALSE(model.empty() || mapping.empty());
      for (std::size_t i = 0; i < 100; ++i) {
        SCOPED_TRACE(sample + std::string(dialect) + ", part " + std::to_string(i));
        (void)Convert(folder, model.substr(0, model.size() * i / 100), mapping);
      }
    }
    for (std::size_t i = 0; i < 20; ++i) {
      const std::string cut = mapping.substr(0, mapping.size() * i / 20);
      EXPECT_EQ(Convert(folder, kBasicModel, cut).status, 1) << sample << i;
    }
  }
}

TEST(HostileInput, HugeCountsAreNotBelieved) {
  const TestFolder folder;
  for (const std::string& text : LegacyHugeCounts()) {
    EXPECT_EQ(Convert(folder, text, kEmptyDof).status, 1) << text;
  }
  for (const std::string& mapping : {MappingText(6, 2147483647, BodyRecord(1, 1)),
                                     MappingText(6, 1, "1 1 2 3 4 5 6 -2147483647 0 1 1"),
                                     MappingText(6, 1, "1 1 2 3 4 5 6 -2147483648 0 1 1")}) {
    EXPECT_EQ(Convert(folder, kBasicModel, mapping).status, 1) << mapping;
  }
  // Numbers that are no counts may be as large.
  EXPECT_EQ(
      Convert(folder, kBasicModel, MappingText(2147483647, 1, BodyRecord(1, 2147483642))).status,
      0);
}

TEST(HostileInput, LongChainsConvert) {
  const TestFolder folder;
  const auto convert_chain = [&folder](int bodies, const std::vector<std::string>& arguments) {
    std::string model = "Zov Graphic Model File\nv1.30\nM 1 m\n0\n";
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
  (void)folder.write("in.mdl", model);
  (void)folder.write("in.dof", kEmptyDof);
  int canceled = 0;
  for (const int milliseconds : {0, 0, -1, 5, -20, 50, 100, -150, 200, -300, 400, -500}) {
    const std::string older = "what an earlier run wrote";
    (void)folder.write("out.fbx", older);
    StartedKestrix program({"in.mdl", "in.dof", "out.fbx"}, folder.path(""));
    program.waitForOutput();
    usleep(static_cast<useconds_t>(std::abs(milliseconds) * 1000));
    program.interrupt();
    if (milliseconds < 0) program.interrupt();
    const RunResult result = program.wait();
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.dof", "in.mdl", "out.fbx"}));
    if (result.status == 0) {  // it had ended, or had nothing left to be stopped
      EXPECT_EQ(result.err, "");
      EXPECT_NE(ReadFile(folder.path("out.fbx")), older);
      continue;
    }
    EXPECT_EQ(ReadFile(folder.path("out.fbx")), older);
    if (result.status == 128 + SIGINT && milliseconds < 0) continue;
    ++canceled;
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("\n\nERROR: ")) << result.err;
    EXPECT_TRUE(result.err.ends_with(" Canceled.\n\n")) << result.err;
  }
  EXPECT_GT(canceled, 0);
}

}  // namespace
