#include "btscan.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
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

// Powers of ten that a double holds exactly.
constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kMaxExactPower = 22;
constexpr std::uint64_t kMaxExactMantissa = std::uint64_t{1} << 53;

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

// Reads an exponent at `p` ("e-12"); null when it is malformed or may go on behind `end`.
const char* ParseExponent(const char* p, const char* end, int* exponent) {
  ++p;
  if (p == end) return nullptr;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  const char* digits = p;
  int number = 0;
  while (p != end && Bt_IsDigit(*p)) {
    if (number < 10000) number = number * 10 + (*p - '0');
    ++p;
  }
  if (p == digits || p == end) return nullptr;
  *exponent = negative ? -number : number;
  return p;
}

// The value of `mantissa` times ten to the `exponent`, which must be within the limits above: one
// rounding gives it exactly.
double ExactProduct(std::uint64_t mantissa, int exponent) {
  const double number = static_cast<double>(mantissa);
  return exponent < 0 ? number / kPowersOfTen[-exponent] : number * kPowersOfTen[exponent];
}

// The value of the number without sign that stands from `start` to `end`, with its sign; answers
// `end`, null when it is out of range. Kept out of the path of common numbers.
[[gnu::noinline]] const char* ParseInexact(const char* start, const char* end, bool negative,
                                           double* value) {
  double magnitude = 0;
  const std::from_chars_result result = std::from_chars(start, end, magnitude);
  if (result.ec != std::errc() || result.ptr != end) return nullptr;
  *value = negative ? -magnitude : magnitude;
  return end;
}

// What the digits of a positive and of a negative number are divided by.
constexpr double kDivisors[2][9] = {{1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8},
                                    {-1e0, -1e1, -1e2, -1e3, -1e4, -1e5, -1e6, -1e7, -1e8}};
constexpr std::uint64_t kTens[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

// Characters that ParseShort() may look at.
constexpr std::ptrdiff_t kShortRoom = 32;

// The number at `p` where it is a common one: with a point, without an exponent, of up to eight
// digits on one side of the point and seven before it, so that one division gives it exactly.
// Answers the position behind it, null for others. Signs and lengths cannot be foretold, so there
// is no branch on them, and one look finds where the number ends, for the next one waits for that.
inline const char* ParseShort(const char* p, double* value) {
  const bool negative = *p == '-';
  const int sign = static_cast<int>(negative) | static_cast<int>(*p == '+');
  const unsigned others = Bt_FindOthers(p) & ~static_cast<unsigned>(sign);
  const unsigned others_behind_point = others & (others - 1);
  if (others_behind_point == 0) return nullptr;
  const char* const point = p + std::countr_zero(others);
  const char* const after = p + std::countr_zero(others_behind_point);
  p += sign;
  const int whole_count = static_cast<int>(point - p);
  const int fraction_count = static_cast<int>(after - point) - 1;
  const int count = whole_count + fraction_count;
  if (*point != '.' || (*after | 0x20) == 'e' || count == 0) return nullptr;
  if (whole_count >= kBtMostJoined || fraction_count > kBtMostJoined) return nullptr;
  std::uint64_t mantissa = 0;
  if (count <= kBtMostJoined) {
    // The digits behind the point move up to those before it.
    const std::uint64_t before_point = (std::uint64_t{1} << (8 * whole_count)) - 1;
    mantissa = Bt_JoinDigits(
        (Bt_LoadDigits(p) & before_point) | (Bt_LoadDigits(p + 1) & ~before_point), count);
  } else {
    mantissa = Bt_JoinDigits(Bt_LoadDigits(p), whole_count) * kTens[fraction_count] +
               Bt_JoinDigits(Bt_LoadDigits(point + 1), fraction_count);
  }
  *value = static_cast<double>(static_cast<std::int64_t>(mantissa)) /
           kDivisors[static_cast<int>(negative)][fraction_count];
  return after;
}

// As ParseInt, for any decimal number without space before it.
[[gnu::noinline]] const char* ParseAny(const char* p, const char* end, double* value) {
  if (p == end) return nullptr;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  const char* start = p;
  std::uint64_t mantissa = 0;
  while (p != end && Bt_IsDigit(*p)) {
    mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    ++p;
  }
  std::int64_t digits = p - start;
  int exponent = 0;
  if (p != end && *p == '.') {
    const char* fraction = ++p;
    while (p != end && Bt_IsDigit(*p)) {
      mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
      ++p;
    }
    if (p - fraction > 10000) return nullptr;
    exponent = -static_cast<int>(p - fraction);
    digits += p - fraction;
  }
  if (digits == 0 || p == end) return nullptr;
  if (*p == 'e' || *p == 'E') {
    int written_exponent = 0;
    p = ParseExponent(p, end, &written_exponent);
    if (p == nullptr) return nullptr;
    exponent += written_exponent;
  }
  // Nineteen digits fit the mantissa; more of them may have wrapped around.
  const bool exact = digits <= 19 && mantissa <= kMaxExactMantissa && exponent >= -kMaxExactPower &&
                     exponent <= kMaxExactPower;
  if (!exact) return ParseInexact(start, p, negative, value);
  const double magnitude = ExactProduct(mantissa, exponent);
  *value = negative ? -magnitude : magnitude;
  return p;
}

// As ParseInt, for a decimal number.
inline const char* ParseDouble(const char* p, const char* end, double* value) {
  p = SkipSpace(p, end);
  const char* const after = end - p >= kShortRoom ? ParseShort(p, value) : nullptr;
  return after != nullptr ? after : ParseAny(p, end, value);
}

// As ParseInt, for a decimal number that is a finite float.
inline const char* ParseFloat(const char* p, const char* end, float* value) {
  p = SkipSpace(p, end);
  double number = 0;
  const char* after = end - p >= kShortRoom ? ParseShort(p, &number) : nullptr;
  if (after != nullptr) {
    *value = static_cast<float>(number);  // a short one is never too large
    return after;
  }
  after = ParseAny(p, end, &number);
  return after != nullptr && BtNarrow(number, value) ? after : nullptr;
}

}  // namespace

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
