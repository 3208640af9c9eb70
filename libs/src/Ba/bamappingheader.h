// The first two lines of a mapping file, for its reader and its writer.
#pragma once

#include <string_view>

inline constexpr std::string_view kBaMappingHeader = "Zov Graphic Mapping File";
// Files of every version with this whole part are read.
inline constexpr double kBaMappingVersion = 1.0;
