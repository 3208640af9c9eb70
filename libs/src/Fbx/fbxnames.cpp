#include "fbxnames.h"

#include <cstddef>

namespace {

constexpr unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

// The ranges of lead bytes with the length of their sequences and what the second byte may be; the
// others are 0x80 to 0xBF.
struct Lead {
  unsigned char first;
  unsigned char last;
  unsigned char length;
  unsigned char second_first;
  unsigned char second_last;
};

constexpr Lead kLeads[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool FitsLead(std::string_view text, const Lead& lead) {
  if (text.size() < lead.length) return false;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const unsigned char first = i == 1 ? lead.second_first : 0x80;
    const unsigned char last = i == 1 ? lead.second_last : 0xBF;
    if (Byte(text[i]) < first || Byte(text[i]) > last) return false;
  }
  return true;
}

// Length of the character at the front; 0 where there is none.
std::size_t CharacterLength(std::string_view text) {
  const unsigned char byte = Byte(text.front());
  for (const Lead& lead : kLeads) {
    if (byte >= lead.first && byte <= lead.last) return FitsLead(text, lead) ? lead.length : 0;
  }
  return 0;
}

}  // namespace

std::string FbxText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) {
      const unsigned char byte = Byte(text.front());
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

std::string FbxCleanName(std::string_view name) {
  std::string result = FbxText(name);
  char last = 0;
  for (char& c : result) {
    if (Byte(c) < 0x20 || c == 0x7F || (c == ':' && last == ':')) c = '_';
    last = c;
  }
  return result;
}

std::string FbxUniqueNames::make(const std::string& name) {
  auto* const entry = _names.try_emplace(name, kReserved).first;
  int suffix = entry->second;
  if (suffix == kReserved) {
    entry->second = 0;
    return name;
  }
  std::string other;
  do {
    other = name + "_ncl1_" + std::to_string(++suffix);
  } while (!_names.try_emplace(other, 0).second);
  _names[name] = suffix;
  return other;
}
