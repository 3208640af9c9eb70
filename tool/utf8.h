// Whether bytes are UTF-8.
#pragma once

#include <string_view>

// False for stray bytes, forms that are too long, surrogates and what lies beyond U+10FFFF.
[[nodiscard]] bool IsUtf8(std::string_view text);
