// The token scanner under all text readers. It accepts and refuses exactly what formatted
// extraction
// (`is >> x`) does and leaves the stream as that would, so readers can be mixed; but it works
// straight on the stream's buffer, which makes it an order of magnitude faster.
#pragma once

#include <cstring>
#include <istream>
#include <streambuf>

class BtArena;

// Opens the get area of any stream buffer, which the standard keeps to derived classes.
struct Bt_GetArea : std::streambuf {
  static const char* next(std::streambuf* buf) { return (buf->*&Bt_GetArea::gptr)(); }
  static const char* end(std::streambuf* buf) { return (buf->*&Bt_GetArea::egptr)(); }
  static void moveTo(std::streambuf* buf, const char* position) {
    (buf->*&Bt_GetArea::setg)((buf->*&Bt_GetArea::eback)(), const_cast<char*>(position),
                              (buf->*&Bt_GetArea::egptr)());
  }
};

// Reads tokens of one stream, which must outlive it and must have default formatting flags. Every
// reader skips white space first, and on failure sets the stream's state and answers false.
class BtScanner {
 public:
  explicit BtScanner(std::istream& is) : _is(is), _buf(is.rdbuf()) {}

  bool readInt(int* value);
  bool readDouble(double* value);
  // A double narrowed to float; one that is no finite float then is a failure.
  bool readFloat(float* value);
  // Reads `count` floats into consecutive places. The second form answers how many came before a
  // failure.
  bool readFloats(float* values, int count) { return readSomeFloats(values, count) == count; }
  int readSomeFloats(float* values, int count);
  // Passes over `text` where the stream is known to go on with exactly that, up to a line feed,
  // which stays. False says nothing: the readers above are to be asked then.
  template <std::size_t kSize>
  bool skipLineEnd(const char (&text)[kSize]);
  // The next character that is not white space.
  bool readChar(char* c);
  // Skips white space and answers whether anything is left. Leaves the state alone.
  bool skipSpace();
  // The next character, white space included; -1 at the end of input, as is.get() does.
  int get();
  // The next character without consuming it; -1 at the end of input. Leaves the state alone.
  int peek() { return _buf->sgetc(); }

  [[nodiscard]] std::istream& stream() const { return _is; }
  // Where objects that are read may place small arrays; null, as it is at first, for the heap.
  void setArena(BtArena* arena) { _arena = arena; }
  [[nodiscard]] BtArena* arena() const { return _arena; }

 private:
  template <class Number>
  bool _read(Number* value, const char* (*parse)(const char*, const char*, Number*));
  template <class Number>
  bool _extract(Number* value);

  std::istream& _is;
  std::streambuf* _buf;
  BtArena* _arena = nullptr;
};

template <std::size_t kSize>
bool BtScanner::skipLineEnd(const char (&text)[kSize]) {
  constexpr std::size_t kLength = kSize - 1;
  const char* const next = Bt_GetArea::next(_buf);
  if (!_is.good() || Bt_GetArea::end(_buf) - next < static_cast<std::ptrdiff_t>(kSize))
    return false;
  if (std::memcmp(next, text, kLength) != 0 || next[kLength] != '\n') return false;
  Bt_GetArea::moveTo(_buf, next + kLength);
  return true;
}

// The decimal number that begins at `p`, in the forms that the scanner takes; answers the position
// behind it. Null where there is none, where it is out of the range of double and where no other
// character follows before `end`: all characters before `end` may be looked at, so that giving more
// than the number makes this fast.
[[nodiscard]] const char* BtParseDouble(const char* p, const char* end, double* value);

// White space as the classic locale has it.
inline bool BtIsSpace(char c) { return c <= ' ' && (c == ' ' || (c >= '\t' && c <= '\r')); }
