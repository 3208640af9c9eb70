#include "Bt/btscan.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <limits>

#include "btclassicios.h"
#include "btdigits.h"
#include "btfloattext.h"

namespace {

const char* SkipSpace(const char* p, const char* end) {
  while (p != end && BtIsSpace(*p)) ++p;
  return p;
}

// Parses one integer that ends before `end`. Answers the position behind it, null where the slow
// path must decide: the token may go on behind the buffer, is malformed or out of range.
const char* ParseInt(const char* p, const char* end, int* value) {
  p = SkipSpace(p, end);
  if (p == end) return nullptr;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  constexpr std::ptrdiff_t kMostDigits = 10;
  std::int64_t number = 0;
  const char* const digits = p;
  const char* const limit = p + std::min(end - p, kMostDigits);
  while (p != limit && Bt_IsDigit(*p)) number = number * 10 + (*p++ - '0');
  if (p == digits || p == end || Bt_IsDigit(*p)) return nullptr;
  if (negative) number = -number;
  if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
    return nullptr;
  }
  *value = static_cast<int>(number);
  return p;
}

// What the digits of a positive and of a negative number are divided by.
constexpr double kDivisors[2][9] = {{1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8},
                                    {-1e0, -1e1, -1e2, -1e3, -1e4, -1e5, -1e6, -1e7, -1e8}};
constexpr std::uint64_t kTens[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

// Characters that ParseShort() may look at.
constexpr std::ptrdiff_t kShortRoom = 32;

// The number that the digits around a point make, eight of them at most, and one behind it at
// least. `p` is at the first.
inline std::uint32_t JoinAroundPoint(const char* p, unsigned whole_count, unsigned count) {
  // The digits behind the point move up to those before it.
  const std::uint64_t behind_point = ~std::uint64_t{0} << (8 * whole_count);
  const std::uint64_t v = Bt_LoadDigits(p);
  return Bt_JoinDigits(v ^ ((v ^ Bt_LoadDigits(p + 1)) & behind_point), static_cast<int>(count));
}

// As ParseShort(), for a number without a point, which ends at `after`.
inline const char* ParseWhole(const char* p, const char* after, bool negative, double* value) {
  const int count = static_cast<int>(after - p);
  if (!Bt_AreJoined(count) || *after >= 'E') return nullptr;
  const double digits = Bt_JoinDigits(Bt_LoadDigits(p), count);
  *value = negative ? -digits : digits;
  return after;
}

// As ParseShort(), for more digits than can be joined at once: up to seven before the point.
inline const char* ParseLong(const char* p, const char* point, const char* after, bool negative,
                             double* value) {
  const auto whole_count = static_cast<int>(point - p);
  const auto fraction_count = static_cast<int>(after - point) - 1;
  if (whole_count >= kBtMostJoined || fraction_count > kBtMostJoined) return nullptr;
  const std::uint64_t digits =
      Bt_JoinDigits(Bt_LoadDigits(p), whole_count) * kTens[fraction_count] +
      Bt_JoinDigits(Bt_LoadDigits(point + 1), fraction_count);
  *value = static_cast<double>(static_cast<std::int64_t>(digits)) /
           kDivisors[static_cast<int>(negative)][fraction_count];
  return after;
}

// The number at `p` where it is a common one: without an exponent, of up to eight digits on one
// side of the point and seven before it, so that one division gives it exactly. Answers the
// position behind it, null for others. Signs and lengths cannot be foretold, so there is no branch
// on them, and one look finds where the number ends, for the next one waits for that.
inline const char* ParseShort(const char* p, double* value) {
  const unsigned sign = *p == '-' ? 1 : 0;
  const unsigned others = Bt_FindOthers(p) & ~sign;
  const unsigned others_behind_point = others & (others - 1);
  if (others_behind_point == 0) return nullptr;
  const auto point = static_cast<unsigned>(std::countr_zero(others));
  const auto after = static_cast<unsigned>(std::countr_zero(others_behind_point));
  if (p[point] != '.') return ParseWhole(p + sign, p + point, sign != 0, value);
  const unsigned whole_count = point - sign;
  const unsigned fraction_count = after - point - 1;
  const unsigned count = whole_count + fraction_count;
  // Behind it an exponent may begin, or only something rare.
  if (p[after] >= 'E' || fraction_count == 0) return nullptr;
  if (count > kBtMostJoined) return ParseLong(p + sign, p + point, p + after, sign != 0, value);
  *value = JoinAroundPoint(p + sign, whole_count, count) / kDivisors[sign][fraction_count];
  return p + after;
}

// As ParseInt, for any decimal number without space before it. Kept out of the path of common
// numbers.
[[gnu::noinline]] const char* ParseAny(const char* p, const char* end, double* value) {
  if (p == end) return nullptr;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  if (p == end || (!Bt_IsDigit(*p) && *p != '.')) return nullptr;  // no inf, no second sign
  double magnitude = 0;
  const auto [after, error] = std::from_chars(p, end, magnitude);
  // An "e" that is left belongs to a malformed exponent.
  if (error != std::errc() || after == end || (*after | 0x20) == 'e') return nullptr;
  *value = negative ? -magnitude : magnitude;
  return after;
}

// As ParseInt, for a decimal number.
inline const char* ParseDouble(const char* p, const char* end, double* value) {
  return BtParseDouble(SkipSpace(p, end), end, value);
}

// As ParseInt, for a decimal number that is a finite float.
inline const char* ParseFloat(const char* p, const char* end, float* value) {
  double number = 0;
  if (end - p >= kShortRoom) [[likely]] {
    // As a rule there is one blank, or the end of a line and one.
    if (*p == '\n') ++p;
    if (*p == ' ') ++p;
    const char* const after = ParseShort(p, &number);
    if (after != nullptr) [[likely]] {
      *value = static_cast<float>(number);  // a short one is never too large
      return after;
    }
  }
  p = SkipSpace(p, end);
  const char* const after = ParseAny(p, end, &number);
  return after != nullptr && BtNarrow(number, value) ? after : nullptr;
}

}  // namespace

const char* BtParseDouble(const char* p, const char* end, double* value) {
  const char* const after = end - p >= kShortRoom ? ParseShort(p, value) : nullptr;
  return after != nullptr ? after : ParseAny(p, end, value);
}

// Tries the get area first; what it cannot decide is left to formatted extraction.
template <class Number>
bool BtScanner::_read(Number* value, const char* (*parse)(const char*, const char*, Number*)) {
  if (_is.good()) {
    const char* after = parse(Bt_GetArea::next(_buf), Bt_GetArea::end(_buf), value);
    if (after != nullptr) {
      Bt_GetArea::moveTo(_buf, after);
      return true;
    }
  }
  return _extract(value);
}

// Kept out of the path of common numbers.
template <class Number>
[[gnu::noinline]] bool BtScanner::_extract(Number* value) {
  const BtClassicIos classic(_is);
  return static_cast<bool>(_is >> *value);
}

bool BtScanner::readInt(int* value) { return _read(value, ParseInt); }

bool BtScanner::readDouble(double* value) { return _read(value, ParseDouble); }

bool BtScanner::readFloat(float* value) {
  double number = 0;
  if (!readDouble(&number)) return false;
  if (BtNarrow(number, value)) return true;
  _is.setstate(std::ios::failbit);
  return false;
}

int BtScanner::readSomeFloats(float* values, int count) {
  int n = 0;
  if (_is.good()) {
    const char* p = Bt_GetArea::next(_buf);
    const char* const end = Bt_GetArea::end(_buf);
    for (; n < count; ++n) {
      const char* const after = ParseFloat(p, end, values + n);
      if (after == nullptr) break;
      p = after;
    }
    Bt_GetArea::moveTo(_buf, p);
  }
  for (; n < count; ++n) {
    if (!readFloat(values + n)) return n;
  }
  return count;
}

bool BtScanner::readChar(char* c) {
  if (_is.good()) {
    const char* end = Bt_GetArea::end(_buf);
    const char* p = SkipSpace(Bt_GetArea::next(_buf), end);
    if (p != end) {
      *c = *p;
      Bt_GetArea::moveTo(_buf, p + 1);
      return true;
    }
  }
  return static_cast<bool>(_is >> *c);
}

bool BtScanner::skipSpace() {
  for (;;) {
    const char* const end = Bt_GetArea::end(_buf);
    const char* const p = SkipSpace(Bt_GetArea::next(_buf), end);
    Bt_GetArea::moveTo(_buf, p);
    if (p != end) return true;
    const int c = _buf->sgetc();  // fetches more text
    if (c < 0) return false;
    if (!BtIsSpace(static_cast<char>(c))) return true;
    _buf->sbumpc();
  }
}

int BtScanner::get() {
  if (_is.good()) {
    const char* p = Bt_GetArea::next(_buf);
    if (p != Bt_GetArea::end(_buf)) {
      Bt_GetArea::moveTo(_buf, p + 1);
      return static_cast<unsigned char>(*p);
    }
  }
  return _is.get();
}
