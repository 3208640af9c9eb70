// The help that people read elsewhere names every option of the tables.
#include <gtest/gtest.h>

#include <cstdlib>

#include "arguments.h"
#include "main/runprogram.h"
#include "options.h"
#include "tool/runtool.h"

namespace {

std::string Manual(const std::string& program) {
  return ReadFile(std::string(KESTRIX_MANUALS) + "/" + program + ".1.scd");
}

TEST(Help, ManualsNameEveryOption) {
  const std::string kestrix = Manual("kestrix");
  for (const OptionText& option : OptionTexts()) {
    std::string line = "\n*" + std::string(option.name) + "*";
    if (option.value != nullptr) line += " _" + std::string(option.value) + "_";
    EXPECT_NE(kestrix.find(line + "\n"), std::string::npos) << line;
    if (option.default_value == nullptr) continue;
    EXPECT_NE(kestrix.find(option.default_value), std::string::npos) << line;
  }
  const std::string tool = Manual("kestrix-tool");
  for (const Command& command : Commands()) {
    const std::string title = "\n## " + std::string(command.name) + "\n";
    const std::size_t start = tool.find(title);
    ASSERT_NE(start, std::string::npos) << title;
    const std::string section = tool.substr(start, tool.find("\n## ", start + 1) - start);
    for (const Argument& argument : ArgumentTable()) {
      if (argument.name[0] != '-' || !Takes(command, argument)) continue;
      std::string names = "\n*" + std::string(argument.name) + "*";
      if (names.find(',') != std::string::npos) names.replace(names.find(','), 1, "*, *");
      EXPECT_NE(section.find(names), std::string::npos) << command.name << names;
    }
  }
}

TEST(Help, NamesTheWordThatNothingTakes) {
  const struct {
    std::vector<std::string> words;
    std::string message;
  } rows[] = {
      {{"inof", "a.mdl"}, "inof"},
      {{"motion", "cutt"}, "cutt"},
      {{"check", "--al"}, "--al"},
      {{}, "A subcommand is required"},
      {{"motion"}, "A subcommand is required"},
  };
  for (const auto& row : rows) {
    const auto result = RunTool(row.words);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
}

// What bash offers for the last of the words.
std::string BashOffers(const std::string& function, const std::string& words) {
  const std::string script = RunTool({"completion", "bash"}).out + "COMP_WORDS=(" + words +
                             ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n" + function +
                             "\necho \"${COMPREPLY[*]}\"\n";
  const TestFolder folder;
  const std::string files = folder.write("script", script) + " >" + folder.path("offers");
  EXPECT_EQ(std::system(("bash " + files + " 2>&1").c_str()), 0);  // NOLINT(cert-env33-c)
  return folder.read("offers");
}

TEST(Help, BashCompletesBothPrograms) {
  const struct {
    std::string function, words, offers;
  } rows[] = {
      {"_kestrix", "kestrix -m", "-mesh_per_body -mb_version\n"},
      {"_kestrix", "kestrix -mb_version 200", "2009 2006\n"},
      {"_kestrix", "kestrix fox", "\n"},
      {"_kestrix_tool", "kestrix-tool c", "check convert-model completion\n"},
      {"_kestrix_tool", "kestrix-tool info --",
       "--help --json --jobs --quiet --verbose --tree --dof --scale-factor\n"},
      {"_kestrix_tool", "kestrix-tool convert-model --to l", "legacy\n"},
      {"_kestrix_tool", "kestrix-tool picture --o", "--output\n"},
      {"_kestrix_tool", "kestrix-tool mo", "motion\n"},
      {"_kestrix_tool", "kestrix-tool motion r", "rom resample\n"},
      {"_kestrix_tool", "kestrix-tool motion cut --f", "--from\n"},
      {"_kestrix_tool", "kestrix-tool motion rom --angles r", "radians\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(BashOffers(row.function, row.words), row.offers);
  EXPECT_EQ(RunTool({"completion", "zsh", "kestrix"}).out.find("#compdef kestrix\n"), 0U);
  EXPECT_EQ(RunTool({"completion", "kestrix"}).status, 2);
}

}  // namespace
