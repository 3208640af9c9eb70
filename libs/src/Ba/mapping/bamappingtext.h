// What the reader and the writer of mapping files share.
#pragma once

#include <string_view>

inline constexpr std::string_view kBaMappingHeader = "Zov Graphic Mapping File";
// Files of every version with this whole part are read.
inline constexpr double kBaMappingVersion = 1.0;

// False for a value that no line which is written can say: one with text that would begin a
// comment, end the block or change the next line, or with white space at an end.
[[nodiscard]] bool BaCanBeInMapping(std::string_view value);
