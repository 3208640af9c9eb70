// The version of the converter, as it states it.
#pragma once

inline constexpr const char* kKestrixVersion = "0.9.0a";
