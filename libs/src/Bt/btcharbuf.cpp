// The routines for plain character arrays.
#include <cstdio>
#include <cstring>

#include "Bt/btassert.h"
#include "Bt/btscan.h"
#include "Bt/btstr.h"

char* BtStrCpy(char* dest, const char* src, int size) {
  BtAssert(size > SizeTToInt(std::strlen(src)), "SizeTToInt(strlen(src))<size");
  return std::strcpy(dest, src);  // NOLINT(clang-analyzer-security.insecureAPI.strcpy): it fits
}

char* BtStrNCpy(char* dest, const char* src, int n, int size) {
  BtAssert(n >= 0, "n>=0");
  const std::size_t count = strnlen(src, static_cast<std::size_t>(n));
  BtAssert(SizeTToInt(count) < size, "n<size");
  std::memcpy(dest, src, count);
  dest[count] = '\0';
  return dest;
}

char* BtStrCat(char* dest, const char* src, int size) {
  const int length = SizeTToInt(std::strlen(dest));
  BtAssert(SizeTToInt(std::strlen(src)) < size - length,
           "SizeTToInt(strlen(dest)+strlen(src))<size");
  BtStrCpy(dest + length, src, size - length);
  return dest;
}

int BtVSNPrintF(char* dest, int size, const char* format, __builtin_va_list args) {
  BtAssert(size >= 0, "size>=0");
  const int length = std::vsnprintf(dest, static_cast<std::size_t>(size), format, args);
  BtAssert(length >= 0 && length < size, "length<size");
  return length;
}

const char* BtStrFindLast(const char* text, const char* find) {
  const std::size_t place = std::string_view(text).rfind(find);
  return place == std::string_view::npos ? nullptr : text + place;
}

char* BtStrLTrim(char* text) {
  const char* first = text;
  while (BtIsSpace(*first)) ++first;
  std::memmove(text, first, std::strlen(first) + 1);
  return text;
}

char* BtStrRTrim(char* text) {
  std::size_t length = std::strlen(text);
  while (length > 0 && BtIsSpace(text[length - 1])) --length;
  text[length] = '\0';
  return text;
}
