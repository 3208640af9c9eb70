// Decimal digits, several at a time: for readers of texts that are mostly numbers.
#pragma once

#include <array>
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

// True for a number of digits that can be joined.
constexpr int kBtMostJoined = 8;
[[nodiscard]] inline bool Bt_AreJoined(int count) {
  return static_cast<unsigned>(count - 1) < unsigned{kBtMostJoined};
}

// The numbers that the first `a_count` and `b_count` of eight digits each make.
[[nodiscard]] inline std::array<std::uint32_t, 2> Bt_JoinTwo(std::uint64_t a, int a_count,
                                                             std::uint64_t b, int b_count) {
  a <<= 8 * (kBtMostJoined - a_count);  // to the high end
  b <<= 8 * (kBtMostJoined - b_count);
#if defined(__SSE2__)
  // Digits become words, which are joined to pairs, fours and the whole.
  const auto pairs_of = [](std::uint64_t v) {
    const __m128i digits =
        _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(v)), _mm_setzero_si128());
    return _mm_madd_epi16(digits, _mm_set_epi16(1, 10, 100, 1000, 1, 10, 100, 1000));
  };
  const __m128i words = _mm_packs_epi32(pairs_of(a), pairs_of(b));
  const __m128i fours =
      _mm_madd_epi16(words, _mm_set_epi16(1, 1, 10000, 10000, 1, 1, 10000, 10000));
  const __m128i sums = _mm_add_epi32(fours, _mm_shuffle_epi32(fours, _MM_SHUFFLE(2, 3, 0, 1)));
  const auto both = static_cast<std::uint64_t>(
      _mm_cvtsi128_si64(_mm_shuffle_epi32(sums, _MM_SHUFFLE(3, 1, 2, 0))));
  return {static_cast<std::uint32_t>(both), static_cast<std::uint32_t>(both >> 32U)};
#else
  // Neighbours are joined three times: to pairs, to fours, to the whole.
  const auto join = [](std::uint64_t v) {
    v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFU;
    v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFU;
    return static_cast<std::uint32_t>(v * 10000 + (v >> 32));
  };
  return {join(a), join(b)};
#endif
}

// The number that the first `count` of eight digits make.
[[nodiscard]] inline std::uint32_t Bt_JoinDigits(std::uint64_t v, int count) {
  return Bt_JoinTwo(v, count, 0, kBtMostJoined)[0];
}

// A bit for each of sixteen characters that is no digit, the lowest for the first.
[[nodiscard]] inline unsigned Bt_FindOthers(const char* p) {
#if defined(__SSE2__)
  // Digits become the lowest bytes with a sign.
  __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  v = _mm_add_epi8(v, _mm_set1_epi8(static_cast<char>(-128 - '0')));
  const __m128i digits = _mm_cmplt_epi8(v, _mm_set1_epi8(-128 + 10));
  return static_cast<unsigned>(_mm_movemask_epi8(digits)) ^ 0xFFFFU;
#else
  unsigned others = 0;
  for (int i = 0; i < 16; ++i) others |= static_cast<unsigned>(!Bt_IsDigit(p[i])) << i;
  return others;
#endif
}
