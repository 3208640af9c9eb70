#include "utf8.h"

#include <cstddef>
#include <cstdint>

namespace {

// First bytes of the sequences of a length, and the least character that needs it.
struct Form {
  std::uint8_t mask;
  std::uint8_t bits;
  std::uint8_t length;
  std::uint32_t least;
};
constexpr Form kForms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

// Length of the character at the front, 0 where there is none.
std::size_t CharacterLength(std::string_view text) {
  const auto first = static_cast<std::uint8_t>(text.front());
  for (const Form& form : kForms) {
    if ((first & form.mask) != form.bits) continue;
    if (text.size() < form.length) return 0;
    std::uint32_t character = first & static_cast<std::uint8_t>(~form.mask);
    for (std::size_t i = 1; i < form.length; ++i) {
      const auto byte = static_cast<std::uint8_t>(text[i]);
      if ((byte & 0xC0) != 0x80) return 0;
      character = character << 6 | (byte & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < form.least || character > 0x10FFFF || surrogate ? 0 : form.length;
  }
  return 0;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}
