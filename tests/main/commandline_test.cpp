// The command line as users meet it: arguments, messages, streams, order of steps, exit status.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Fbx/fbxrecords.h"
#include "runprogram.h"
#include "support/printed.h"

namespace {

constexpr const char* kUsage =
    "\nUsage:\n  kestrix [<options>] <input mdl> <input dof> <output fbx>\n"
    "\nOptions:\n  -scale_factor <factor> (default: 2.54)\n  -mesh_per_body\n"
    "  -mb_version <version> (default: 2011)\n"
    "\nVersion:\n  0.9.0a (FBXSDK201103)\n\nReleased:\n  March 29, 2012\n"
    "\nCopyright (c) 2012\nVemra Studios\nAll rights reserved.\n\n";

TEST(CommandLine, PrintsUsageWithoutArguments) {
  const RunResult result = RunKestrix({});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, kUsage);
  EXPECT_EQ(result.err, "");
}

TEST(CommandLine, RefusesBadArgumentsBeforeReadingAnything) {
  const struct {
    std::vector<std::string> arguments;
    std::string err;
  } cases[] = {
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
  for (const auto& c : cases) {
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
  setenv("LOCPATH", KESTRIX_LOCALES, 1);
  for (const char* version : {"2011", "2010"}) {
    for (const std::string sample : {"fox", "robot"}) {
      std::string first;
      for (const auto& run : runs) {
        SCOPED_TRACE(sample + " in " + version + " to " + run.target);
        setenv("LC_ALL", run.locale, 1);
        setenv("TZ", run.time_zone, 1);
        const std::string model = run.model_folder + sample;
        const RunResult result = RunKestrix(
            {"-mb_version", version, model + ".mdl", model + ".dof", folder.path(run.target)},
            run.directory);
        EXPECT_EQ(result.status, 0) << result.err;
        const std::string bytes = folder.read(run.target);
        if (first.empty()) first = bytes;
        EXPECT_GT(bytes.size(), 10000U);
        EXPECT_TRUE(bytes == first);
      }
    }
  }
  for (const char* variable : {"LOCPATH", "LC_ALL", "TZ"}) unsetenv(variable);
}

TEST(CommandLine, ChoosesTheFileVersion) {
  const struct {
    const char* mb_version;
    int file_version;  // 0 where no writer fits
  } cases[] = {{"2011", 7100}, {"2010", 6100},  {"2009", 6100}, {"2006", 6100}, {"7.5", 6100},
               {"201", 7100},  {"200", 6100},   {"", 7100},     {"2012", 0},    {"FBX", 0},
               {"7.50", 0},    {"20110", 7100}, {"2011000", 0}};
  for (const auto& c : cases) {
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
                PrintedError("Unsupported MB version \"" + std::string(c.mb_version) + "\"."));
      EXPECT_TRUE(folder.names().empty());
      continue;
    }
    EXPECT_EQ(result.status, 0) << c.mb_version << result.err;
    EXPECT_EQ(ParseFbx(ReadFile(fbx)).version, c.file_version) << c.mb_version;
  }
}

}  // namespace
