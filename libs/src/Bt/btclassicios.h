// The plain state of a stream, for a while.
#pragma once

#include <ios>
#include <locale>

// While it lives, text and numbers go through the stream in the form that files have: decimal, with
// a point, without groups of digits, signs or padding, whatever the stream was set to. The
// precision stays. A field width is used up, as by any output.
class BtClassicIos {
 public:
  explicit BtClassicIos(std::ios& stream)
      : _stream(stream),
        _is_other(stream.getloc() != std::locale::classic()),
        _flags(stream.flags()),
        _fill(stream.fill(' ')) {
    if (_is_other) _before = stream.imbue(std::locale::classic());
    stream.flags(std::ios::dec | (_flags & (std::ios::skipws | std::ios::unitbuf)));
    stream.width(0);
  }
  ~BtClassicIos() {
    if (_is_other) _stream.imbue(_before);
    _stream.flags(_flags);
    _stream.fill(_fill);
  }
  BtClassicIos(const BtClassicIos&) = delete;
  BtClassicIos& operator=(const BtClassicIos&) = delete;

 private:
  std::ios& _stream;
  bool _is_other;
  std::locale _before;
  std::ios::fmtflags _flags;
  char _fill;
};
