#include "btfloattext.h"

#include <clocale>
#include <cstdlib>
#include <limits>

std::to_chars_result BtFloatToChars(char* first, char* last, float value) {
  const std::to_chars_result shortest = std::to_chars(first, last, value);
  // The shortest text is made for readers that round once. Rounded to a double first, very few
  // texts come to lie between two floats.
  double number = 0;
  float read = 0;
  std::from_chars(first, shortest.ptr, number);
  if (!BtNarrow(number, &read) || read == value) return shortest;
  return std::to_chars(first, last, value, std::chars_format::general,
                       std::numeric_limits<float>::max_digits10);
}

double BtStrToD(const char* text, char** end) {
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, end, classic);
}
