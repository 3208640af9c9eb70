#include "support/errorcases.h"

#include <gtest/gtest.h>

#include <fstream>
#include <utility>

namespace {

std::string Unescaped(const std::string& text) {
  std::string result;
  for (auto c = text.begin(); c != text.end(); ++c) {
    if (*c == '\\') {
      ++c;
      result += *c == 'n' ? '\n' : *c == 'd' ? '\x7F' : *c;
    } else {
      result += *c;
    }
  }
  return result;
}

std::string Replaced(std::string text, const std::string& mark, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(mark, at)) != text.npos; at += with.size()) {
    text.replace(at, mark.size(), with);
  }
  return text;
}

// What stands before and behind a mark, without the blank on either side of it.
std::pair<std::string, std::string> Halves(const std::string& line, const std::string& mark) {
  const std::size_t at = line.find(mark);
  EXPECT_NE(at, line.npos) << line;
  std::string before = line.substr(0, at);
  std::string behind = at == line.npos ? "" : line.substr(at + mark.size());
  if (before.ends_with(' ')) before.pop_back();
  if (behind.starts_with(' ')) behind.erase(0, 1);
  return {before, behind};
}

}  // namespace

std::vector<ErrorCase> ReadErrorCases(const std::string& name) {
  std::ifstream is(KESTRIX_TEST_DATA "/messages/" + name);
  std::vector<std::pair<std::string, std::string>> texts;  // and what stands for them
  const auto expanded = [&texts](const std::string& written) {
    std::string text = Unescaped(written);
    for (const auto& [mark, meaning] : texts) text = Replaced(text, mark, meaning);
    return text;
  };
  std::vector<ErrorCase> cases;
  ErrorCase around;
  for (std::string line; std::getline(is, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    if (line.starts_with("let ")) {
      const auto [text_name, text] = Halves(line.substr(4), "=");
      texts.emplace_back("${" + text_name + "}", expanded(text));
    } else if (line.starts_with('[')) {
      const auto [text, lines] = Halves(line.substr(1), "]");
      around = {expanded(text), expanded(lines)};
    } else {
      const auto [text, lines] = Halves(line, "=>");
      cases.push_back({Replaced(around.text, "@", expanded(text)),
                       Replaced(around.lines, "@", expanded(lines))});
    }
  }
  EXPECT_FALSE(cases.empty()) << name;
  return cases;
}
