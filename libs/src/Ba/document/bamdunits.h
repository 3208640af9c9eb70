// The units of documents, for their reader and their writer.
#pragma once

#include <string_view>

inline constexpr std::string_view kBaLengthUnits[] = {"INCHES", "METERS"};
inline constexpr std::string_view kBaAngleUnits[] = {"DEGREES", "RADIANS"};
// Factors below would make angles that no float holds.
inline constexpr float kBaMinUnitFactor = 1e-30F;
