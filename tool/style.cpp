#include "style.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

std::optional<std::array<bool, 2>> kept_terminals;

}  // namespace

bool IsOnTerminal(int stream) {
  if (kept_terminals) return (*kept_terminals)[static_cast<std::size_t>(stream - STDOUT_FILENO)];
  return isatty(stream) == 1;
}

void KeepTerminals() {
  kept_terminals = {IsOnTerminal(STDOUT_FILENO), IsOnTerminal(STDERR_FILENO)};
}

bool UseColour() {
  const char* const no_colour = std::getenv("NO_COLOR");
  return (no_colour == nullptr || *no_colour == '\0') && IsOnTerminal(STDOUT_FILENO);
}

std::string Styled(Style style, std::string_view text) {
  constexpr const char* kCodes[] = {"", "\x1B[1m", "\x1B[2m", "\x1B[32m", "\x1B[33m", "\x1B[31m"};
  std::string printable = Printable(text);
  if (style == Style::Plain || !UseColour()) return printable;
  return kCodes[static_cast<int>(style)] + printable + "\x1B[0m";
}

std::string Uncoloured(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\x1B') {
      at = std::min(text.find('m', at), text.size());
    } else {
      plain += text[at];
    }
  }
  return plain;
}

std::string Printable(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(),
      [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, '?');
  return result;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

std::string Short(double number) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.6g", number + 0.0);
  return std::string(text.data()) == "-0" ? "0" : text.data();
}

std::string Counted(long long count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string Padded(std::string text, std::size_t width) {
  const std::size_t used = Width(text);
  if (used < width) text.append(width - used, ' ');
  return text;
}
