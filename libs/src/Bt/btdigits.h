// Decimal digits, several at a time: for readers of texts that are mostly numbers.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

[[nodiscard]] inline bool Bt_IsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// Eight characters, of which digits have become their values, the first in the lowest byte.
[[nodiscard]] inline std::uint64_t Bt_LoadDigits(const char* p) {
  static_assert(std::endian::native == std::endian::little);
  std::uint64_t v = 0;
  std::memcpy(&v, p, sizeof v);
  return v ^ 0x3030303030303030U;
}

// The number that the first `count` of eight digits make.
[[nodiscard]] inline std::uint64_t Bt_JoinDigits(std::uint64_t v, int count) {
  // To the high end, in two steps: one by all 64 bits is not defined.
  v <<= 32 - 4 * count;
  v <<= 32 - 4 * count;
  // Neighbours are joined three times: to pairs, to fours, to the whole.
  v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFU;
  v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFU;
  return (v * 10000 + (v >> 32)) & 0x00000000FFFFFFFFU;
}
constexpr int kBtMostJoined = 8;

// A bit for each of sixteen characters that is no digit, the lowest for the first.
[[nodiscard]] inline unsigned Bt_FindOthers(const char* p) {
#if defined(__SSE2__)
  // Digits become the lowest bytes with a sign.
  __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  v = _mm_add_epi8(v, _mm_set1_epi8(static_cast<char>(-128 - '0')));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_set1_epi8(-128 + 9))));
#else
  unsigned others = 0;
  for (int i = 0; i < 16; ++i) others |= static_cast<unsigned>(!Bt_IsDigit(p[i])) << i;
  return others;
#endif
}
