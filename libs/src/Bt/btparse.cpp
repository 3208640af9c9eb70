#include "Bt/btparse.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "Bt/btexcept.h"
#include "Bt/btlinecharreader.h"
#include "Bt/btscan.h"

namespace {

using namespace std::string_view_literals;

constexpr int kEndOfLine = BtLineCharReader::kEndOfLine;
constexpr int kEndOfFile = BtLineCharReader::kEndOfFile;

constexpr BtCharSet kLineEnds("\r\n"sv);
constexpr BtCharSet kTextStops("\r\n\0"sv);
constexpr BtCharSet kHeadStops(":\r\n\0"sv);
constexpr BtCharSet kBlockStops("\r\n\0#{}\\"sv);
constexpr BtCharSet kNotBlank = BtCharSet(" \t"sv).inverted();
constexpr BtCharSet kNotSpaceInLine = BtCharSet(" \t\v\f"sv).inverted();

// True when reading has ended before the end of the text for a reason that is recorded.
bool HasReasonToEnd(const std::istream& is) { return is.bad() && BtError(); }

bool RefuseNul() { return BtFail("Text contains a NUL character."); }

constexpr std::ptrdiff_t kWindow = 64;

#if defined(__SSE2__)
// What 64 characters of a block hold, with a bit for each of them.
struct Window {
  std::uint64_t line_ends = 0;
  std::uint64_t others = 0;  // controls, what is special in blocks, and what lies beyond "z"
};

inline Window LookAt(const char* p) {
  const auto all = [](char c) { return _mm_set1_epi8(c); };
  Window window;
  for (int i = 0; i < kWindow; i += 16) {
    const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    const __m128i line_ends = _mm_cmpeq_epi8(text, all('\n'));
    const __m128i plain = _mm_or_si128(line_ends, _mm_cmpeq_epi8(text, all('\t')));
    const __m128i controls = _mm_andnot_si128(plain, _mm_cmplt_epi8(text, all(' ')));
    const __m128i special =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(text, all('#')), _mm_cmpeq_epi8(text, all('\\'))),
                     _mm_cmpgt_epi8(text, all('z')));
    const auto bits = [i](__m128i found) {
      return static_cast<std::uint64_t>(_mm_movemask_epi8(found)) << i;
    };
    window.line_ends |= bits(line_ends);
    window.others |= bits(_mm_or_si128(controls, special));
  }
  return window;
}
#endif

// Copies plain lines of a block without the blanks that they begin with: up to a character that may
// mean something in blocks, or until there are not so many left. Moves `to` behind the copy and
// answers the place in the text. Behind the copy some characters are overwritten: pieces are copied
// as if they were 64 long. Line ends are looked for in one window after the other, wherever lines
// begin, so that none has to wait for the one before it.
constexpr std::size_t kWrittenAhead = kWindow;
const char* CopyPlainLines(const char* p, const char* end, char** to) {
#if defined(__SSE2__)
  char* out = *to;
  const auto copy_to = [&](const char* piece_end) {
    std::memcpy(out, p, kWindow);
    out += piece_end - p;
    p = piece_end;
  };
  for (const char* start = p; end - start >= 2 * kWindow; start += kWindow) {
    const auto [line_ends, others] = LookAt(start);
    const char* const stop = start + std::countr_zero(others);
    for (std::uint64_t left = line_ends; left != 0; left &= left - 1) {
      const char* const line_end = start + std::countr_zero(left);
      if (line_end > stop) break;
      copy_to(line_end + 1);
      while (p != end && (*p == ' ' || *p == '\t')) ++p;
    }
    if (p < stop) copy_to(stop);
    if (others != 0) break;
  }
  *to = out;
#else
  static_cast<void>(end);
  static_cast<void>(to);
#endif
  return p;
}

// Gathers a string from small pieces and hands them to it in large ones, so that a short text costs
// one allocation and a long one no more than its length.
class TextCollector {
 public:
  explicit TextCollector(BtStr* text) : _text(text) {}

  // False, with an error recorded, when the text gets too long.
  bool add(std::string_view piece) {
    if (piece.size() > sizeof(_buffer) - _used) {
      if (!flush()) return false;
      if (piece.size() > sizeof(_buffer)) return _append(piece);
    }
    if (!piece.empty()) std::memcpy(_buffer + _used, piece.data(), piece.size());
    _used += piece.size();
    return true;
  }
  bool add(char c) { return add(std::string_view(&c, 1)); }
  // Adds plain lines from the front of a block's text; `count` becomes the number of characters
  // that they take there. False as for add().
  bool addPlainLines(std::string_view text, std::size_t* count) {
    if (_used > sizeof(_buffer) / 2 && !flush()) return false;
    text = text.substr(0, sizeof(_buffer) - kWrittenAhead - _used);
    char* to = _buffer + _used;
    const char* const end = CopyPlainLines(text.data(), text.data() + text.size(), &to);
    _used = static_cast<std::size_t>(to - _buffer);
    *count = static_cast<std::size_t>(end - text.data());
    return true;
  }
  // Puts everything into the string, which is not null afterwards.
  bool flush() {
    const std::string_view piece(_buffer, _used);
    _used = 0;
    return _append(piece);
  }
  [[nodiscard]] bool endsWith(char c) const {
    if (_used > 0) return _buffer[_used - 1] == c;
    return _text->length() > 0 && _text->view().back() == c;
  }
  void dropLast() {
    if (_used > 0) {
      --_used;
    } else {
      _text->lengthTo(_text->length() - 1);
    }
  }

 private:
  bool _append(std::string_view piece) {
    constexpr int kMaxLength = std::numeric_limits<int>::max() - 1;
    if (piece.size() > static_cast<std::size_t>(kMaxLength - _text->length())) {
      return BtFail("Insufficient memory.");
    }
    _text->append(piece);
    return true;
  }

  BtStr* _text;
  std::size_t _used = 0;
  char _buffer[16384];
};

void Skip(BtLineCharReader* reader, const BtCharSet& stops) {
  while (!reader->takeUntil(stops).empty()) {
  }
}

bool Copy(BtLineCharReader* reader, const BtCharSet& stops, TextCollector* text) {
  for (std::string_view run = reader->takeUntil(stops); !run.empty();
       run = reader->takeUntil(stops)) {
    if (!text->add(run)) return false;
  }
  return true;
}

// Collects the text of a block whose opening line has been read.
class BlockReader {
 public:
  BlockReader(std::istream& is, const BtStr& keyword, BtStr* value)
      : _is(is), _keyword(keyword), _value(value), _reader(is), _text(value) {}

  bool read() {
    Skip(&_reader, kNotBlank);
    while (_depth > 0) {
      if (!_copyPlainLines() || !Copy(&_reader, kBlockStops, &_text) ||
          !_readSpecial(_reader.next())) {
        return false;
      }
    }
    return _text.flush();
  }

 private:
  // Copies what needs no second look, as long as the stream's buffer lasts.
  bool _copyPlainLines() {
    for (std::size_t count = 1; count > 0;) {
      if (!_text.addPlainLines(_reader.buffered(), &count)) return false;
      _reader.take(count);
      if (count > 0 && _text.endsWith('\n')) Skip(&_reader, kNotBlank);
    }
    return true;
  }

  bool _readSpecial(int c) {
    switch (c) {
      case kEndOfLine:
        Skip(&_reader, kNotBlank);
        return _text.add('\n');
      case '#':
        return _dropComment();
      case '{':
        return _openBrace();
      case '}':
        return _closeBrace();
      case '\\':
        return _backslash();
      case '\0':
        return RefuseNul();
      default:
        return _endOfFile();
    }
  }

  bool _dropComment() {
    Skip(&_reader, kLineEnds);
    while (_text.endsWith(' ') || _text.endsWith('\t')) _text.dropLast();
    // A backslash that the comment kept from the line's end must not come to stand there.
    return !_text.endsWith('\\') || _text.add(' ');
  }

  // A brace counts only at the end of its line, where a comment may follow it.
  bool _openBrace() {
    if (!_text.add('{') || !Copy(&_reader, kNotBlank, &_text)) return false;
    if (_reader.peek() == '#' && !Copy(&_reader, kTextStops, &_text)) return false;
    if (_reader.peek() == kEndOfLine) ++_depth;
    return true;
  }

  bool _closeBrace() {
    Skip(&_reader, kNotBlank);
    if (_reader.peek() == '#') Skip(&_reader, kLineEnds);
    const int c = _reader.peek();
    if (c != kEndOfLine && c != kEndOfFile) {
      if (c == '\0') return RefuseNul();
      return BtFail("Invalid character ('%c') trailing '%c' for '%s'.", c, '}',
                    static_cast<const char*>(_keyword));
    }
    --_depth;
    if (_depth > 0) return _text.add('}');
    _reader.next();
    return true;
  }

  // A backslash at the end of a line makes text of the whole next line, and so on.
  bool _backslash() {
    if (!_text.add('\\')) return false;
    while (_text.endsWith('\\') && _reader.peek() == kEndOfLine) {
      _reader.next();
      if (!_text.add('\n') || !Copy(&_reader, kTextStops, &_text)) return false;
    }
    return true;
  }

  bool _endOfFile() {
    if (!_text.flush() || HasReasonToEnd(_is)) return false;
    std::cerr << "Hit eof: " << _value->view() << '\n';
    return BtFail("Hit end of file without reading '}' for tag %s",
                  static_cast<const char*>(_keyword));
  }

  const std::istream& _is;
  const BtStr& _keyword;
  BtStr* _value;
  BtLineCharReader _reader;
  TextCollector _text;
  int _depth = 1;
};

// Steps to the first character of the next line that says something; false at the end of input.
bool FindItem(BtLineCharReader* reader) {
  for (;;) {
    Skip(reader, kNotSpaceInLine);
    const int c = reader->peek();
    if (c == '#') Skip(reader, kLineEnds);
    if (c != '#' && c != kEndOfLine) return c != kEndOfFile;
    reader->next();
  }
}

// Reads the value behind a colon with the lines that it draws in.
bool ReadColonValue(BtLineCharReader* reader, BtStr* value) {
  TextCollector text(value);
  Skip(reader, kNotSpaceInLine);
  for (;;) {
    if (!Copy(reader, kTextStops, &text)) return false;
    const int end = reader->next();
    if (end == '\0') return RefuseNul();
    if (!text.endsWith('\\')) break;
    text.dropLast();
    if (!text.add('\n')) return false;
    if (end == kEndOfFile) break;
  }
  if (!text.flush()) return false;
  value->trimRight().trimLeft();
  return true;
}

// Cuts the line that opens a block down to its keyword.
bool CutBlockKeyword(BtStr* line) {
  const std::size_t brace = line->view().find('{');
  if (brace == std::string_view::npos) {
    theExceptObj.set("No ':' or '{' following tag '%s'.", static_cast<const char*>(*line));
    *line = BtStr();
    return false;
  }
  const std::string_view tail = line->view().substr(brace + 1);
  const std::size_t text = tail.find_first_not_of(" \t");
  const bool valid = text == std::string_view::npos || tail[text] == '#';
  line->lengthTo(static_cast<int>(brace)).trimRight();
  if (!valid) {
    theExceptObj.set("Invalid characters trailing '{' for '%s'.", static_cast<const char*>(*line));
  }
  return valid;
}

bool ReadItem(std::istream& is, BtStr* keyword, BtStr* value, bool* single_line) {
  BtLineCharReader reader(is);
  if (!is.good() || !FindItem(&reader)) return true;
  TextCollector head(keyword);
  if (!Copy(&reader, kHeadStops, &head) || !head.flush()) return false;
  const int end = reader.next();
  if (end == '\0') return RefuseNul();
  if (end == ':') {
    keyword->trimRight();
    *single_line = true;
    return ReadColonValue(&reader, value);
  }
  return CutBlockKeyword(keyword) && BlockReader(is, *keyword, value).read();
}

}  // namespace

bool BtReadTaggedValue(std::istream& is, BtStr* keyword, BtStr* value, bool* single_line) {
  *keyword = BtStr();
  // Blocks may be large and much of one size: the room of the last one serves for the next.
  if (!value->isNull()) value->lengthTo(0);
  bool colon_item = false;
  const bool read = ReadItem(is, keyword, value, &colon_item);
  if (keyword->isNull()) *value = BtStr();
  if (single_line != nullptr) *single_line = colon_item;
  if (!is.bad()) return read;
  if (HasReasonToEnd(is)) return false;
  // What came before a read error may be cut short in the middle.
  return BtFail("Error reading file.");
}
