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

// Runs the program and expects these ends of it.
void ExpectRun(const std::vector<std::string>& arguments, int status, const std::string& out,
               const std::string& err) {
  SCOPED_TRACE(testing::PrintToString(arguments));
  const RunResult result = RunKestrix(arguments);
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, err);
}

TEST(CommandLine, PrintsUsageOrRefusesBadArgumentsBeforeReadingAnything) {
  ExpectRun({}, 0, kUsage, "");
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"-mesh_per_body"}, "Expecting model file name.\n"},
      {{""}, "Expecting dof file name.\n"},
      {{"a.mdl"}, "Expecting dof file name.\n"},
      {{"a.mdl", "a.dof"}, "Expecting fbx file name.\n"},
      {{"a", "b", "c", "-mesh_per_body"}, "Unexpected parameter \"-mesh_per_body\".\n"},
      {{"a", "b", "c", ""}, "Unexpected parameter \"\".\n"},
      {{"-scale_factor"}, "No value specified for -scale_factor.\n"},
      {{"-mb_version"}, "No value specified for -mb_version.\n"},
      {{"-Mesh_per_body", "a", "b", "c"}, "Unexpected option \"-Mesh_per_body\".\n"},
      {{"-", "a", "b", "c"}, "Unexpected option \"-\".\n"},
      {{"--help"}, "Unexpected option \"--help\".\n"},
      // Negative numbers are file names.
      {{"-5", "-0.5"}, "Expecting fbx file name.\n"},
  };
  for (const auto& [arguments, err] : cases) ExpectRun(arguments, 1, "", err);
  for (const char* factor : {"0", "-1", "abc", "nan", "1e99", "1e-99"}) {
    ExpectRun({"-scale_factor", factor, "a", "b", "c"}, 1, "",
              "Invalid value for -scale_factor.\n");
  }
}

TEST(CommandLine, ConvertsToTheFileVersionAndSaysWhatItDoes) {
  const std::pair<std::string, int> cases[] = {
      {"2011", 7100}, {"2010", 6100},  {"2009", 6100}, {"2006", 6100}, {"7.5", 6100},
      {"201", 7100},  {"200", 6100},   {"", 7100},     {"2012", 0},    {"FBX", 0},
      {"7.50", 0},    {"20110", 7100}, {"2011000", 0}};  // 0 where no writer fits
  for (const auto& [mb_version, file_version] : cases) {
    const TestFolder folder;
    const std::string fbx = folder.path("w.fbx");
    // The last of a repeated option counts. The version is looked up only once the scene stands.
    ExpectRun(
        {"-scale_factor", "7", "-scale_factor", "2.54abc", "-mb_version", mb_version,
         Sample("walker.mdl"), Sample("walker.dof"), fbx},
        file_version == 0 ? 1 : 0,
        "Reading " + Sample("walker.mdl") + "\nConverting to fbx...\nSaving " + fbx + "\n",
        file_version == 0 ? PrintedError("Unsupported MB version \"" + mb_version + "\".") : "");
    EXPECT_EQ(folder.names().size(), file_version == 0 ? 0U : 1U);
    EXPECT_EQ(ParseFbx(ReadFile(fbx)).version, file_version) << mb_version;
  }
}

TEST(CommandLine, GivesTheSameBytesEverywhere) {
  const TestFolder folder;
  const struct {
    std::string model_folder;
    const char *target, *directory, *locale, *time_zone;
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

}  // namespace
