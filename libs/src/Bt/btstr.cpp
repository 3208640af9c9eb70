#include "Bt/btstr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "Bt/btassert.h"
#include "Bt/btnew.h"
#include "Bt/btscan.h"

namespace {

// Case is that of ASCII in every locale: the bytes of UTF-8 texts stay as they are.
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsIndent(char c) { return c == ' ' || c == '\t'; }

std::string_view IndentOf(std::string_view line) {
  const auto end = std::find_if_not(line.begin(), line.end(), IsIndent);
  return line.substr(0, static_cast<std::size_t>(end - line.begin()));
}

std::string_view CommonPrefix(std::string_view a, std::string_view b) {
  const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
  return a.substr(0, static_cast<std::size_t>(end - a.begin()));
}

// Calls `use(line)` for every line of the text, the line's end included.
template <class Use>
void ForEachLine(std::string_view text, Use use) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    use(text.substr(0, length));
    text.remove_prefix(length);
  }
}

// Sanitizers tell cores apart that have a block each.
#ifdef KESTRIX_SANITIZED
constexpr bool kSharesBlocks = false;
#else
constexpr bool kSharesBlocks = true;
#endif

// Memory for cores, in pieces of blocks that are never freed. Each is twice as large as the last,
// so that few stand between what is freed, where large arrays can go then.
class CorePool {
 public:
  void* take() {
    if (_free != nullptr) return std::exchange(_free, _free->next);
    if (_rest == 0) {
      _rest = _next_count;
      _next_count *= 2;
      _new = static_cast<std::byte*>(::operator new(_rest * sizeof(Bt_CoreStr)));
    }
    --_rest;
    return std::exchange(_new, _new + sizeof(Bt_CoreStr));
  }
  void giveBack(void* core) { _free = ::new (core) Free{_free}; }

 private:
  struct Free {
    Free* next;
  };
  Free* _free = nullptr;
  std::byte* _new = nullptr;  // that no core has stood on
  std::size_t _rest = 0;
  std::size_t _next_count = 64;
};

constinit CorePool cores;

}  // namespace

void* Bt_CoreStr::operator new(std::size_t size) {
  return kSharesBlocks ? cores.take() : ::operator new(size);
}

void Bt_CoreStr::operator delete(void* core) {
  if (kSharesBlocks) return cores.giveBack(core);
  ::operator delete(core);
}

Bt_CoreStr::~Bt_CoreStr() { _setNull(); }

Bt_CoreStr& Bt_CoreStr::operator=(const char* text) {
  BtAssert(_ref_count == 1, "_ref_count==1");
  BtAssert(!_holds(text));
  _setNull();
  if (text != nullptr) _set(text, SizeTToInt(std::strlen(text)));
  return *this;
}

void Bt_CoreStr::resize(int size) {
  BtAssert(size >= 0, "size>=0");
  if (size == 0) {
    _setNull();
    return;
  }
  char* const old_text = _text_ptr;
  const bool was_long = old_text != nullptr && old_text != _short_text;
  if (was_long || size > static_cast<int>(sizeof _short_text)) {
    void* const block = was_long ? old_text : nullptr;
    _text_ptr = static_cast<char*>(BtReallocOrExit(block, static_cast<std::size_t>(size), 1));
    if (old_text == _short_text) std::memcpy(_text_ptr, _short_text, sizeof _short_text);
  } else {
    _text_ptr = _short_text;
  }
  _size = size;
  _length = std::min(_length, size - 1);
  _text_ptr[_length] = '\0';
}

void Bt_CoreStr::resizeRel(int size_change) { resize(_size + size_change); }

void Bt_CoreStr::relength(int length) {
  BtAssert(length >= 0, "length>=0");
  _reserve(static_cast<std::size_t>(length));
  if (length > _length) {
    std::memset(_text_ptr + _length, ' ', static_cast<std::size_t>(length - _length));
  }
  _length = length;
  _text_ptr[_length] = '\0';
}

void Bt_CoreStr::relengthRel(int length_change) { relength(_length + length_change); }

void Bt_CoreStr::_set(const char* text, int len) {
  BtAssert(_text_ptr == nullptr, "_text_ptr==NULL");
  BtAssert(len >= 0, "len>=0");
  _reserve(static_cast<std::size_t>(len));
  _splice(0, 0, std::string_view(text, static_cast<std::size_t>(len)));
}

void Bt_CoreStr::_setNull() {
  if (_text_ptr != _short_text) std::free(_text_ptr);
  _text_ptr = nullptr;
  _size = 0;
  _length = 0;
}

void Bt_CoreStr::_reserve(std::size_t length) {
  const int needed = SizeTToInt(length + 1);
  if (_text_ptr != nullptr && needed <= _size) return;
  // Names with an ending are many, and get nothing else: the first block takes just its text.
  const bool doubles = _text_ptr != _short_text && _size <= std::numeric_limits<int>::max() / 2;
  resize(doubles ? std::max(needed, 2 * _size) : needed);
}

void Bt_CoreStr::_splice(int i, int n, std::string_view text) {
  const std::size_t tail = static_cast<std::size_t>(_length - i - n);
  const std::size_t length = static_cast<std::size_t>(i) + text.size() + tail;
  _reserve(length);
  char* const place = _text_ptr + i;
  if (text.size() != static_cast<std::size_t>(n))
    std::memmove(place + text.size(), place + n, tail);
  if (!text.empty()) std::memcpy(place, text.data(), text.size());
  _length = static_cast<int>(length);
  _text_ptr[_length] = '\0';
}

bool Bt_CoreStr::_holds(const char* text) const {
  return text != nullptr && _text_ptr != nullptr && std::less_equal<>()(_text_ptr, text) &&
         std::less<>()(text, _text_ptr + _size);
}

BtStr::BtStr(const char* text) {
  if (text != nullptr) append(text);
}

BtStr::BtStr(const char* text, int len) {
  BtAssert(text != nullptr, "text!=NULL");
  BtAssert(len >= 0, "len >= 0");
  const std::size_t length = static_cast<std::size_t>(len);
  BtAssert(strnlen(text, length) == length, "len <= SizeTToInt(strlen(text))");
  append(std::string_view(text, length));
}

BtStr::BtStr(std::string_view text) { append(text); }

BtStr::BtStr(const BtStr& other) noexcept = default;
BtStr::BtStr(BtStr&& other) noexcept = default;
BtStr& BtStr::operator=(const BtStr& other) noexcept = default;
BtStr& BtStr::operator=(BtStr&& other) noexcept = default;
BtStr::~BtStr() = default;

BtStr& BtStr::operator=(const char* text) {
  if (_core.nOwners() == 1) {
    *_core = text;
    return *this;
  }
  return *this = BtStr(text);
}

std::string_view BtStr::view() const {
  return isNull() ? std::string_view()
                  : std::string_view(_core->text(), static_cast<std::size_t>(length()));
}

char* BtStr::textDup() const {
  if (isNull()) return nullptr;
  auto copy = std::make_unique<char[]>(static_cast<std::size_t>(length()) + 1);
  std::memcpy(copy.get(), _core->text(), static_cast<std::size_t>(length()) + 1);
  return copy.release();
}

char BtStr::operator[](int i) const {
  BtAssert(i >= 0, "i>=0");
  BtAssert(i < length(), "i<length()");
  return _core->text()[i];
}

void BtStr::setChar(int i, char c) {
  BtAssert(i >= 0, "i>=0");
  BtAssert(i < length(), "i<length()");
  BtAssert(c != '\0', "c!='\\0'");
  _preMod();
  _core->text()[i] = c;
}

BtStr& BtStr::operator+=(const BtStr& other) {
  BtAssert(!other.isNull(), "!str.isNull()");
  return append(other.view());
}

BtStr& BtStr::operator+=(const char* text) {
  BtAssert(text != nullptr, "text!=NULL");
  return append(text);
}

BtStr& BtStr::operator+=(char c) {
  BtAssert(c != '\0', "c!='\\0'");
  return append(std::string_view(&c, 1));
}

BtStr& BtStr::append(std::string_view text) {
  _preMod();
  if (_core->_holds(text.data())) {
    // A part of this string moves when the string grows.
    const std::ptrdiff_t offset = text.data() - _core->text();
    _core->_reserve(static_cast<std::size_t>(length()) + text.size());
    text = std::string_view(_core->text() + offset, text.size());
  }
  _core->_splice(length(), 0, text);
  return *this;
}

BtStr& BtStr::catN(const char* text, int n) {
  BtAssert(text != nullptr, "text!=NULL");
  BtAssert(n >= 0, "n >= 0");
  const std::size_t count = static_cast<std::size_t>(n);
  BtAssert(strnlen(text, count) == count, "n <= SizeTToInt(strlen(text))");
  return append(std::string_view(text, count));
}

BtStr& BtStr::upper() {
  if (isNull()) return *this;
  _preMod();
  std::transform(_core->text(), _core->text() + length(), _core->text(), Upper);
  return *this;
}

BtStr& BtStr::lower() {
  if (isNull()) return *this;
  _preMod();
  std::transform(_core->text(), _core->text() + length(), _core->text(), Lower);
  return *this;
}

BtStr& BtStr::trimLeft(bool newlines) {
  const std::string_view text = view();
  const auto stays = [newlines](char c) { return !BtIsSpace(c) || (c == '\n' && !newlines); };
  const auto first = std::find_if(text.begin(), text.end(), stays);
  return _splice(0, static_cast<int>(first - text.begin()), "");
}

BtStr& BtStr::trimRight() {
  const std::string_view text = view();
  const auto space = std::find_if_not(text.rbegin(), text.rend(), BtIsSpace) - text.rbegin();
  const int count = static_cast<int>(space);
  return _splice(length() - count, count, "");
}

BtStr& BtStr::squeeze() {
  if (isNull()) return *this;
  _preMod();
  char* to = _core->text();
  bool in_space = false;
  for (const char c : view()) {
    const bool space = BtIsSpace(c);
    if (!space) {
      *to++ = c;
    } else if (!in_space) {
      *to++ = ' ';
    }
    in_space = space;
  }
  _core->relength(static_cast<int>(to - _core->text()));
  return *this;
}

BtStr& BtStr::unindent() {
  // Lines of nothing but blanks say nothing about the indentation.
  const auto is_blank = [](std::string_view line) {
    return std::all_of(line.begin(), line.end(), BtIsSpace);
  };
  std::string_view shared;
  bool first = true;
  ForEachLine(view(), [&](std::string_view line) {
    if (is_blank(line)) return;
    shared = first ? IndentOf(line) : CommonPrefix(shared, line);
    first = false;
  });
  if (shared.empty()) return *this;
  std::string result;
  result.reserve(view().size());
  ForEachLine(view(), [&](std::string_view line) {
    result += line.substr(CommonPrefix(shared, line).size());
  });
  return _become(result);
}

BtStr& BtStr::remove(int i, int n) {
  BtAssert(i >= 0, "i>=0");
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length() - i, "i+n<=length()");
  return _splice(i, n, "");
}

BtStr& BtStr::remove(const char* text) { return replaceAll(text, ""); }

BtStr& BtStr::replace(int i, int n, const char* text) {
  BtAssert(i >= 0, "i>=0");
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length() - i, "i+n<=this->length()");
  BtAssert(text != nullptr, "text!=NULL");
  return _splice(i, n, text);
}

BtStr& BtStr::replace(const BtStr& s1, const BtStr& s2) {
  BtAssert(!s1.isNull(), "!s1.isNull()");
  BtAssert(!s2.isNull(), "!s2.isNull()");
  const std::size_t place = s1.length() == 0 ? std::string_view::npos : view().find(s1.view());
  if (place == std::string_view::npos) return *this;
  return _splice(static_cast<int>(place), s1.length(), s2.view());
}

BtStr& BtStr::replaceAll(const BtStr& s1, const BtStr& s2) {
  BtAssert(!s1.isNull(), "!s1.isNull()");
  BtAssert(!s2.isNull(), "!s2.isNull()");
  const std::string_view text = view();
  std::size_t place = s1.length() == 0 ? std::string_view::npos : text.find(s1.view());
  if (place == std::string_view::npos) return *this;
  std::string result;
  std::size_t done = 0;
  while (place != std::string_view::npos) {
    result += text.substr(done, place - done);
    result += s2.view();
    done = place + s1.view().size();
    place = text.find(s1.view(), done);
  }
  result += text.substr(done);
  return _become(result);
}

BtStr& BtStr::padLeft(int n, char c) {
  BtAssert(c != '\0', "c!='\\0'");
  if (n <= length()) return *this;
  return _splice(0, 0, std::string(static_cast<std::size_t>(n - length()), c));
}

BtStr& BtStr::padRight(int n, char c) {
  BtAssert(c != '\0', "c!='\\0'");
  if (n <= length()) return *this;
  return _splice(length(), 0, std::string(static_cast<std::size_t>(n - length()), c));
}

BtStr& BtStr::lengthTo(int n) {
  BtAssert(n >= 0, "n>=0");
  if (n == length()) return *this;
  _preMod();
  _core->relength(n);
  return *this;
}

BtStr BtStr::left(int n) const {
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length(), "n<=this->length()");
  return mid(0, n);
}

BtStr BtStr::notLeft(int n) const {
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length(), "this->length()>=n");
  return mid(n, length() - n);
}

BtStr BtStr::right(int n) const {
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length(), "n<=this->length()");
  return mid(length() - n, n);
}

BtStr BtStr::notRight(int n) const {
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length(), "this->length()>=n");
  return mid(0, length() - n);
}

BtStr BtStr::mid(int i, int n) const {
  BtAssert(i >= 0, "i>=0");
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length() - i, "this->length()>=i+n");
  if (n == length()) return *this;
  return BtStr(view().substr(static_cast<std::size_t>(i), static_cast<std::size_t>(n)));
}

BtStr BtStr::notMid(int i, int n) const {
  BtAssert(i >= 0, "i>=0");
  BtAssert(n >= 0, "n>=0");
  BtAssert(n <= length() - i, "this->length()>=i+n");
  BtStr result(*this);
  result._splice(i, n, "");
  return result;
}

bool BtStr::findNth(char c, int n, int* pos) const {
  BtAssert(n >= 1, "n>=1");
  BtAssert(pos != nullptr, "pos");
  const std::string_view text = view();
  std::size_t place = text.find(c);
  while (place != std::string_view::npos && --n > 0) place = text.find(c, place + 1);
  if (place == std::string_view::npos) return false;
  *pos = static_cast<int>(place);
  return true;
}

int BtStr::matchCount(char c) const {
  const std::string_view text = view();
  return static_cast<int>(std::count(text.begin(), text.end(), c));
}

void BtStr::_preMod() {
  if (_core.nOwners() == 1) return;
  auto core = std::make_unique<Bt_CoreStr>();
  if (!isNull()) core->_set(view().data(), length());
  _core = BtShared(std::move(core));
}

BtStr& BtStr::_splice(int i, int n, std::string_view text) {
  if (n == 0 && text.empty()) return *this;
  // A text inside the string moves with it.
  if (!isNull() && _core->_holds(text.data())) return _splice(i, n, std::string(text));
  _preMod();
  _core->_splice(i, n, text);
  return *this;
}

BtStr& BtStr::_become(std::string_view text) { return *this = BtStr(text); }
