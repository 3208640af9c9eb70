// What a BtStr is worth: comparison, numbers and truth values, and its way to and from streams.
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>
#include <streambuf>
#include <utility>

#include "Bt/btassert.h"
#include "Bt/btscan.h"
#include "Bt/btstr.h"
#include "btfloattext.h"

namespace {

// A null text comes before every other; `compare` decides between two that are not null.
template <class Compare>
int CompareNullable(const char* a, const char* b, Compare compare) {
  if (a == nullptr || b == nullptr) return (a != nullptr ? 1 : 0) - (b != nullptr ? 1 : 0);
  return compare(a, b);
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The whole text as an integer that fits a long.
bool WholeLong(const BtStr& str, int base, long* value) {
  if (str.length() == 0) return false;
  const char* text = str;
  char* end = nullptr;
  errno = 0;
  const long number = std::strtol(text, &end, base);
  if (errno == ERANGE || end == text || end != text + str.length()) return false;
  *value = number;
  return true;
}

bool WholeInt(const BtStr& str, int base, int* value) {
  long number = 0;
  if (!WholeLong(str, base, &number)) return false;
  if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
    return false;
  }
  *value = static_cast<int>(number);
  return true;
}

struct BoolWord {
  const char* word;
  bool value;
};

constexpr BoolWord kBoolWords[] = {{"1", true},  {"TRUE", true},   {"ON", true},   {"YES", true},
                                   {"0", false}, {"FALSE", false}, {"OFF", false}, {"NO", false}};

std::strong_ordering ToOrdering(int order) { return order <=> 0; }

// Takes what the buffer holds of a line; `first` is the next character, which is all that a stream
// without a buffer shows. True when the line's end was taken, too.
bool TakePiece(std::streambuf* buf, char first, BtStr* line) {
  const char* start = Bt_GetArea::next(buf);
  const char* end = Bt_GetArea::end(buf);
  const bool unbuffered = start == end;
  if (unbuffered) {
    start = &first;
    end = start + 1;
  }
  const char* const newline = std::find(start, end, '\n');
  const bool ended = newline != end;
  line->append(std::string_view(start, static_cast<std::size_t>(newline - start)));
  if (unbuffered) {
    buf->sbumpc();
  } else {
    Bt_GetArea::moveTo(buf, ended ? newline + 1 : end);
  }
  return ended;
}

}  // namespace

int BtStr::cmp(const char* text) const { return CompareNullable(*this, text, std::strcmp); }

int BtStr::iCmp(const char* text) const { return CompareNullable(*this, text, strcasecmp); }

int BtStr::iNCmp(const char* text, int n) const {
  BtAssert(n >= 0, "n>=0");
  return CompareNullable(*this, text, [n](const char* a, const char* b) {
    return strncasecmp(a, b, static_cast<std::size_t>(n));
  });
}

int BtStr::coll(const char* text) const { return CompareNullable(*this, text, std::strcoll); }

bool BtStr::doubleValue(double* value) const {
  BtAssert(!isNull(), "!isNull()");
  const char* text = *this;
  if (length() == 0 || IsLetter(*text)) return false;
  char* end = nullptr;
  const double number = BtStrToD(text, &end);
  if (end == text || end != text + length()) return false;
  *value = number;
  return true;
}

bool BtStr::floatValue(float* value) const {
  double number = 0;
  float read = 0;
  if (!doubleValue(&number) || !BtNarrow(number, &read)) return false;
  *value = read;
  return true;
}

bool BtStr::longValue(long* value) const {
  BtAssert(!isNull(), "!isNull()");
  return WholeLong(*this, 10, value);
}

bool BtStr::intValue(int* value) const {
  BtAssert(!isNull(), "!isNull()");
  return WholeInt(*this, 10, value);
}

bool BtStr::hexValue(int* value) const {
  BtAssert(!isNull(), "!isNull()");
  return WholeInt(*this, 16, value);
}

bool BtStr::boolValue(bool* value) const {
  BtAssert(!isNull(), "!isNull()");
  for (const BoolWord& entry : kBoolWords) {
    if (iCmp(entry.word) == 0 && std::strlen(entry.word) == view().size()) {
      *value = entry.value;
      return true;
    }
  }
  return false;
}

void BtStr::printOn(std::ostream& os) const { os << view(); }

void BtStr::scanLine(std::istream& is) {
  BtStr line;
  const std::istream::sentry ready(is, true);
  bool ended = !ready;
  while (!ended) {
    const int c = is.rdbuf()->sgetc();
    if (c == std::char_traits<char>::eof()) {
      is.setstate(line.isNull() ? std::ios::eofbit | std::ios::failbit : std::ios::eofbit);
      break;
    }
    ended = TakePiece(is.rdbuf(), std::char_traits<char>::to_char_type(c), &line);
  }
  if (line.isNull() && !is.eof()) line = "";  // the stream failed before
  *this = std::move(line);
}

bool operator==(const BtStr& a, const BtStr& b) {
  const char* const text = a;
  if (text == static_cast<const char*>(b)) return true;  // one text of both, or none
  return !a.isNull() && !b.isNull() && a.view() == b.view();
}

bool operator==(const BtStr& a, const char* b) { return a.cmp(b) == 0; }

std::strong_ordering operator<=>(const BtStr& a, const BtStr& b) {
  if (a.isNull() || b.isNull()) return ToOrdering(a.cmp(b));
  return ToOrdering(a.view().compare(b.view()));
}

std::strong_ordering operator<=>(const BtStr& a, const char* b) { return ToOrdering(a.cmp(b)); }

BtStr operator+(const BtStr& a, const BtStr& b) {
  BtStr result(a.view());
  return result += b;
}

BtStr operator+(const BtStr& a, const char* b) {
  BtStr result(a.view());
  return result += b;
}

BtStr operator+(const char* a, const BtStr& b) {
  BtStr result(a);
  return result += b;
}

std::ostream& operator<<(std::ostream& os, const BtStr& str) {
  str.printOn(os);
  return os;
}
