// Formatted texts.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "Bt/btstr.h"

BtStr BtFormat(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  BtStr result = BtVFormat(format, args);
  va_end(args);
  return result;
}

BtStr BtVFormat(const char* format, __builtin_va_list args) {
  std::array<char, 512> small = {};
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(small.data(), small.size(), format, args);
  BtStr result(format);  // stands where the formatted text would be too long for an int
  if (length >= 0) {
    const std::size_t count = static_cast<std::size_t>(length);
    if (count < small.size()) {
      result = BtStr(std::string_view(small.data(), count));
    } else {
      std::vector<char> large(count + 1);
      (void)std::vsnprintf(large.data(), large.size(), format, again);
      result = BtStr(std::string_view(large.data(), count));
    }
  }
  va_end(again);
  return result;
}
