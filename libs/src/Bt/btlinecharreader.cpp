#include "Bt/btlinecharreader.h"

#include <bit>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "Bt/btscan.h"

// Sixteen characters at a time where the set is small.
const char* BtCharSet::findIn(const char* begin, const char* end) const {
#if defined(__SSE2__)
  if (_is_small) {
    __m128i members[std::tuple_size_v<decltype(_few)>];
    for (std::size_t i = 0; i < _few.size(); ++i) members[i] = _mm_set1_epi8(_few[i]);
    for (; end - begin >= 16; begin += 16) {
      const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin));
      __m128i found = _mm_setzero_si128();
      for (const __m128i member : members)
        found = _mm_or_si128(found, _mm_cmpeq_epi8(text, member));
      const auto bits = static_cast<unsigned>(_mm_movemask_epi8(found));
      if (bits != 0) return begin + std::countr_zero(bits);
    }
  }
#endif
  while (begin != end && !has(*begin)) ++begin;
  return begin;
}

int BtLineCharReader::next() {
  const int c = _buf->sbumpc();
  if (c == '\r' && _buf->sgetc() == '\n') _buf->sbumpc();
  if (c == kEndOfFile) _is.setstate(std::ios::eofbit);
  return c == '\r' ? kEndOfLine : c;
}

int BtLineCharReader::peek() {
  const int c = _buf->sgetc();
  if (c == kEndOfFile) _is.setstate(std::ios::eofbit);
  return c == '\r' ? kEndOfLine : c;
}

std::string_view BtLineCharReader::takeUntil(const BtCharSet& stops) {
  if (Bt_GetArea::next(_buf) == Bt_GetArea::end(_buf)) {
    if (peek() == kEndOfFile) return {};
    if (Bt_GetArea::next(_buf) == Bt_GetArea::end(_buf)) {
      // A stream without a buffer hands out its characters one by one.
      _single = static_cast<char>(_buf->sgetc());
      if (stops.has(_single)) return {};
      _buf->sbumpc();
      return {&_single, 1};
    }
  }
  const char* const begin = Bt_GetArea::next(_buf);
  const char* const end = stops.findIn(begin, Bt_GetArea::end(_buf));
  Bt_GetArea::moveTo(_buf, end);
  return {begin, static_cast<std::size_t>(end - begin)};
}

std::string_view BtLineCharReader::buffered() const {
  const char* const begin = Bt_GetArea::next(_buf);
  return {begin, static_cast<std::size_t>(Bt_GetArea::end(_buf) - begin)};
}

void BtLineCharReader::take(std::size_t count) {
  Bt_GetArea::moveTo(_buf, Bt_GetArea::next(_buf) + count);
}
