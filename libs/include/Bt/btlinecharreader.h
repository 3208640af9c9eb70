// Characters of a text stream, with the ends of its lines made alike.
#pragma once

#include <array>
#include <istream>
#include <string_view>

// A set of characters, made at compile time.
class BtCharSet {
 public:
  constexpr explicit BtCharSet(std::string_view members) {
    for (const char c : members) _has[static_cast<unsigned char>(c)] = true;
    if (members.empty() || members.size() > _few.size()) return;
    _is_small = true;
    for (std::size_t i = 0; i < _few.size(); ++i) _few[i] = members[i % members.size()];
  }
  // All other characters.
  [[nodiscard]] constexpr BtCharSet inverted() const {
    BtCharSet others({});
    for (int i = 0; i < 256; ++i) others._has[i] = !_has[i];
    return others;
  }
  [[nodiscard]] constexpr bool has(char c) const { return _has[static_cast<unsigned char>(c)]; }
  // The first member in a text, its end where there is none.
  const char* findIn(const char* begin, const char* end) const;

 private:
  bool _has[256] = {};
  bool _is_small = false;
  std::array<char, 8> _few = {};  // the members of a small set, some of them repeatedly
};

// Reads a stream character by character or in stretches taken straight from the stream's buffer. A
// carriage return, a line feed and the two in a row each are one end of line. The stream must
// outlive the reader and stands behind what was read at any time; at its end eofbit is set.
class BtLineCharReader {
 public:
  static constexpr int kEndOfLine = '\n';
  static constexpr int kEndOfFile = -1;

  explicit BtLineCharReader(std::istream& is) : _is(is), _buf(is.rdbuf()) {}

  // The next character (0 to 255), kEndOfLine or kEndOfFile.
  int next();
  // The same without consuming it.
  int peek();
  // Consumes characters up to the first one in `stops` and answers them; at most as many as the
  // stream's buffer holds, so that callers ask again until the answer is empty. `stops` should
  // hold both characters of line ends. The answer is valid until the next call.
  std::string_view takeUntil(const BtCharSet& stops);
  // What the stream's buffer holds ahead, maybe nothing. Valid until the next call.
  [[nodiscard]] std::string_view buffered() const;
  // Consumes `count` characters of that.
  void take(std::size_t count);

 private:
  std::istream& _is;
  std::streambuf* _buf;
  char _single = 0;  // the answer where the stream has no buffer
};
