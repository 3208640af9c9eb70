// BtStr: the string of the toolkit. It may be null (no text at all), which is not the same as
// empty, and copies share their text until one of them is changed.
#pragma once

#include <compare>
#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string_view>

#include "Bt/btassert.h"
#include "Bt/btshared.h"

// The text that several BtStr share. Counts its users; frees the text with the last of them.
class Bt_CoreStr {
 public:
  Bt_CoreStr() = default;
  ~Bt_CoreStr();
  Bt_CoreStr(const Bt_CoreStr&) = delete;
  Bt_CoreStr& operator=(const Bt_CoreStr&) = delete;
  // Cores stand by themselves: a name that a scene shares with its model does not keep apart what
  // is freed around it. What cores have stood on stays with the process, for others.
  static void* operator new(std::size_t size);
  static void operator delete(void* core);
  // Replaces the text. Asserts `_ref_count==1` and that `text` is not part of this core's buffer.
  Bt_CoreStr& operator=(const char* text);

  // The zero-terminated text, null while there is none.
  char* text() { return _text_ptr; }
  [[nodiscard]] const char* text() const { return _text_ptr; }
  operator const char*() const { return _text_ptr; }
  [[nodiscard]] int refCount() const { return _ref_count; }
  void incRefCount() { ++_ref_count; }
  int decRefCount() { return --_ref_count; }
  // Characters before the terminating zero; 0 without a text.
  [[nodiscard]] int length() const { return _length; }
  // Bytes of the buffer, the terminating zero included.
  [[nodiscard]] int size() const { return _size; }
  // Set or change the capacity in bytes; the text is cut where it no longer fits.
  void resize(int size);
  void resizeRel(int size_change);
  // Set or change the length; new characters are blanks.
  void relength(int length);
  void relengthRel(int length_change);

 private:
  friend class BtStr;
  // Takes a copy of `len` characters. Asserts that there is no text yet.
  void _set(const char* text, int len);
  void _setNull();
  // Makes room for `length` characters; grows by doubling, so that appending stays linear.
  void _reserve(std::size_t length);
  // Puts `text`, which must lie elsewhere, in the place of `n` characters at `i`.
  void _splice(int i, int n, std::string_view text);
  [[nodiscard]] bool _holds(const char* text) const;

  char* _text_ptr = nullptr;
  int _size = 0;
  int _length = 0;
  int _ref_count = 1;
  char _short_text[20] = {};  // short texts stand here: most names are one block of memory
};

// All indices are 0-based. Indices out of range and null arguments are assertion failures.
class BtStr {
 public:
  BtStr() = default;        // null
  BtStr(const char* text);  // NOLINT(google-explicit-constructor): null text gives a null string
  BtStr(const char* text, int len);
  explicit BtStr(std::string_view text);
  BtStr(const BtStr& other) noexcept;
  BtStr(BtStr&& other) noexcept;
  BtStr& operator=(const BtStr& other) noexcept;
  BtStr& operator=(BtStr&& other) noexcept;
  BtStr& operator=(const char* text);
  ~BtStr();

  [[nodiscard]] bool isNull() const { return _text() == nullptr; }
  [[nodiscard]] int length() const { return _core.get() == nullptr ? 0 : _core->length(); }
  operator const char*() const { return _text(); }
  // The text without its terminating zero; empty for a null string. Valid until the string changes.
  [[nodiscard]] std::string_view view() const;
  // A new zero-terminated copy, to be freed with delete[]; null for a null string.
  [[nodiscard]] char* textDup() const;
  char operator[](int i) const;
  void setChar(int i, char c);

  // Each of these changes this string and returns it. Appending to a null string makes it a text,
  // and so does what puts characters into it; the others leave a null string null.
  BtStr& operator+=(const BtStr& other);
  BtStr& operator+=(const char* text);
  BtStr& operator+=(char c);
  BtStr& append(std::string_view text);
  BtStr& catN(const char* text, int n);
  BtStr& upper();
  BtStr& lower();
  // Removes white space at the front; also line ends when `newlines` is true.
  BtStr& trimLeft(bool newlines = true);
  BtStr& trimRight();
  // Every run of white space becomes one blank.
  BtStr& squeeze();
  // Removes the indentation that all lines share.
  BtStr& unindent();
  BtStr& remove(int i, int n);
  BtStr& remove(const char* text);  // every occurrence
  BtStr& replace(int i, int n, const char* text);
  BtStr& replace(const BtStr& s1, const BtStr& s2);  // the first occurrence
  BtStr& replaceAll(const BtStr& s1, const BtStr& s2);
  BtStr& padLeft(int n, char c = ' ');  // to at least n characters
  BtStr& padRight(int n, char c = ' ');
  BtStr& lengthTo(int n);  // cut or filled with blanks

  [[nodiscard]] BtStr left(int n) const;
  [[nodiscard]] BtStr notLeft(int n) const;
  [[nodiscard]] BtStr right(int n) const;
  [[nodiscard]] BtStr notRight(int n) const;
  [[nodiscard]] BtStr mid(int i, int n) const;
  [[nodiscard]] BtStr notMid(int i, int n) const;

  // Position of the n-th occurrence of c, n from 1; false when there is none.
  bool findNth(char c, int n, int* pos) const;
  [[nodiscard]] int matchCount(char c) const;

  // As strcmp; a null string comes before every text.
  [[nodiscard]] int cmp(const char* text) const;
  [[nodiscard]] int iCmp(const char* text) const;
  [[nodiscard]] int iNCmp(const char* text, int n) const;
  [[nodiscard]] int coll(const char* text) const;

  // False when the text is not wholly a value of the kind. Each asserts that the string is not
  // null.
  bool doubleValue(double* value) const;
  bool floatValue(float* value) const;
  bool longValue(long* value) const;  // base 10
  bool intValue(int* value) const;    // base 10, false when out of range
  bool hexValue(int* value) const;    // base 16, "0x" allowed
  bool boolValue(bool* value) const;  // 1 TRUE ON YES, 0 FALSE OFF NO, in any case

  void printOn(std::ostream& os) const;
  // Reads the rest of the line, without its end. Null afterwards only when the stream was at its
  // end; empty when it has failed otherwise.
  void scanLine(std::istream& is);

 private:
  [[nodiscard]] const char* _text() const {
    return _core.get() == nullptr ? nullptr : _core->text();
  }
  void _preMod();  // gives this string a core of its own
  BtStr& _splice(int i, int n, std::string_view text);
  // Takes over a text built elsewhere.
  BtStr& _become(std::string_view text);

  BtShared<Bt_CoreStr> _core;
};

bool operator==(const BtStr& a, const BtStr& b);
bool operator==(const BtStr& a, const char* b);
std::strong_ordering operator<=>(const BtStr& a, const BtStr& b);
std::strong_ordering operator<=>(const BtStr& a, const char* b);
BtStr operator+(const BtStr& a, const BtStr& b);
BtStr operator+(const BtStr& a, const char* b);
BtStr operator+(const char* a, const BtStr& b);
std::ostream& operator<<(std::ostream& os, const BtStr& str);

// printf into a string of the needed length.
BtStr BtFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));
BtStr BtVFormat(const char* format, __builtin_va_list args);

// Narrowing that asserts the value fits.
inline int SizeTToInt(std::size_t size) {
  BtAssert(size <= static_cast<std::size_t>(std::numeric_limits<int>::max()), "size<=INT_MAX");
  return static_cast<int>(size);
}

// Routines for plain character arrays of `size` bytes; each asserts that the result fits.
char* BtStrCpy(char* dest, const char* src, int size);
char* BtStrNCpy(char* dest, const char* src, int n, int size);
char* BtStrCat(char* dest, const char* src, int size);
int BtVSNPrintF(char* dest, int size, const char* format, __builtin_va_list args);
// The last occurrence of `find` in `text`, null when there is none.
const char* BtStrFindLast(const char* text, const char* find);
char* BtStrLTrim(char* text);
char* BtStrRTrim(char* text);
