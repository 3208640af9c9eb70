// Floating point numbers and their texts, by the rules of the "C" locale. Readers take a number as
// a double and narrow it, as a stream would.
#pragma once

#include <charconv>
#include <cmath>

// The float that a number is rounded to. False where that is not finite; `value` holds it then,
// too.
inline bool BtNarrow(double number, float* value) {
  *value = static_cast<float>(number);
  return std::isfinite(*value);
}

// Writes the shortest text that a reader takes for the same float; "C" locale, no terminating zero.
// 16 characters are enough for any.
std::to_chars_result BtFloatToChars(char* first, char* last, float value);

// std::strtod with a point before the decimals, whatever locale the process has chosen.
double BtStrToD(const char* text, char** end);
