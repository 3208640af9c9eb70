// The command line as users meet it: arguments, messages, streams, order of steps, exit status.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "runprogram.h"

namespace {

constexpr const char* kUsage =
    "\nUsage:\n  kestrix [<options>] <input mdl> <input dof> <output fbx>\n"
    "\nOptions:\n  -scale_factor <factor> (default: 2.54)\n  -mesh_per_body\n"
    "  -mb_version <version> (default: 2011)\n"
    "\nVersion:\n  0.9.0a (FBXSDK201103)\n\nReleased:\n  March 29, 2012\n"
    "\nCopyright (c) 2012\nVemra Studios\nAll rights reserved.\n\n";

// A printed error: two empty lines, the message and its details, one empty line.
std::string Printed(const std::string& text) { return "\n\n" + text + "\n\n"; }

struct ArgumentCase {
  std::vector<std::string> arguments;
  std::string err;
};

TEST(CommandLine, PrintsUsageWithoutArguments) {
  const RunResult result = RunKestrix({});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, kUsage);
  EXPECT_EQ(result.err, "");
}

TEST(CommandLine, RefusesBadArgumentsBeforeReadingAnything) {
  const ArgumentCase cases[] = {
      {{"-mesh_per_body"}, "Expecting model file name.\n"},
      {{""}, "Expecting dof file name.\n"},
      {{"a.mdl"}, "Expecting dof file name.\n"},
      {{"a.mdl", "a.dof"}, "Expecting fbx file name.\n"},
      {{"a", "b", "c", "-mesh_per_body"}, "Unexpected parameter \"-mesh_per_body\".\n"},
      {{"a", "b", "c", ""}, "Unexpected parameter \"\".\n"},
      {{"-scale_factor"}, "No value specified for -scale_factor.\n"},
      {{"-mb_version"}, "No value specified for -mb_version.\n"},
      {{"-scale_factor", "0", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-scale_factor", "-1", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-scale_factor", "abc", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-scale_factor", "nan", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-scale_factor", "1e99", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-scale_factor", "1e-99", "a", "b", "c"}, "Invalid value for -scale_factor.\n"},
      {{"-Mesh_per_body", "a", "b", "c"}, "Unexpected option \"-Mesh_per_body\".\n"},
      {{"-", "a", "b", "c"}, "Unexpected option \"-\".\n"},
      {{"--help"}, "Unexpected option \"--help\".\n"},
      // Negative numbers are file names.
      {{"-5", "-0.5"}, "Expecting fbx file name.\n"},
  };
  for (const ArgumentCase& c : cases) {
    const RunResult result = RunKestrix(c.arguments);
    EXPECT_EQ(result.status, 1) << c.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, c.err);
  }
}

TEST(CommandLine, ConvertsAndSaysWhatItDoes) {
  const TestFolder folder;
  const std::string fbx = folder.path("fox.fbx");
  // The last of a repeated option counts.
  const RunResult result = RunKestrix({"-scale_factor", "7", "-scale_factor", "2.54abc",
                                       Sample("fox.mdl"), Sample("fox.dof"), fbx});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "Reading " + Sample("fox.mdl") + "\nConverting to fbx...\nSaving " + fbx + "\n");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"fox.fbx"});
}

// A variable of the environment as programs see it that start meanwhile.
class Variable {
 public:
  Variable(const char* name, const char* value) : _name(name) {
    if (const char* old = std::getenv(name)) _old = old;
    setenv(name, value, 1);
  }
  ~Variable() {
    if (_old) {
      setenv(_name, _old->c_str(), 1);
    } else {
      unsetenv(_name);
    }
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* _name;
  std::optional<std::string> _old;
};

TEST(CommandLine, GivesTheSameBytesEverywhere) {
  const TestFolder folder;
  const struct {
    std::string model_folder;
    const char* target;
    const char* directory;
    const char* locale;
    const char* time_zone;
  } runs[] = {
      {Sample(""), "a.fbx", "", "C", "UTC"},
      {Sample(""), "other.fbx", "", "C", "UTC"},
      {"", "c.fbx", KESTRIX_SAMPLES, "C", "UTC"},
      {Sample(""), "d.fbx", "/", "de_DE.UTF-8", "America/St_Johns"},
      {Sample(""), "e.fbx", "", "C.utf8", "LINT-14"},
  };
  const Variable locales("LOCPATH", KESTRIX_LOCALES);
  for (const char* version : {"2011", "2010"}) {
    for (const std::string sample : {"fox", "robot", "walker"}) {
      std::string first;
      for (const auto& run : runs) {
        SCOPED_TRACE(sample + " in " + version + " to " + run.target);
        const Variable locale("LC_ALL", run.locale);
        const Variable time_zone("TZ", run.time_zone);
        const std::string model = run.model_folder + sample;
        const RunResult result = RunKestrix(
            {"-mb_version", version, model + ".mdl", model + ".dof", folder.path(run.target)},
            run.directory);
        EXPECT_EQ(result.status, 0) << result.err;
        const std::string bytes = ReadFile(folder.path(run.target));
        if (first.empty()) first = bytes;
        EXPECT_GT(bytes.size(), 10000U);
        EXPECT_TRUE(bytes == first);
      }
    }
  }
}

TEST(CommandLine, ChoosesTheFileVersion) {
  struct Case {
    const char* mb_version;
    std::uint32_t file_version;  // 0 where no writer fits
  };
  const Case cases[] = {{"2011", 7100}, {"2010", 6100}, {"2009", 6100}, {"2006", 6100},
                        {"7.5", 6100},  {"201", 7100},  {"200", 6100},  {"", 7100},
                        {"2012", 0},    {"FBX", 0},     {"7.50", 0},    {"20110", 7100},
                        {"2011000", 0}};
  for (const Case& c : cases) {
    const TestFolder folder;
    const std::string fbx = folder.path("w.fbx");
    const RunResult result =
        RunKestrix({"-mb_version", c.mb_version, Sample("walker.mdl"), Sample("walker.dof"), fbx});
    // The version is looked up only once the scene stands.
    EXPECT_EQ(result.out,
              "Reading " + Sample("walker.mdl") + "\nConverting to fbx...\nSaving " + fbx + "\n");
    if (c.file_version == 0) {
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.err,
                Printed("ERROR: Unsupported MB version \"" + std::string(c.mb_version) + "\"."));
      EXPECT_TRUE(folder.names().empty());
      continue;
    }
    EXPECT_EQ(result.status, 0) << c.mb_version << result.err;
    const std::string bytes = ReadFile(fbx);
    ASSERT_GT(bytes.size(), 27U);
    std::uint32_t version = 0;
    std::memcpy(&version, bytes.data() + 23, sizeof version);
    EXPECT_EQ(version, c.file_version) << c.mb_version;
  }
}

}  // namespace
