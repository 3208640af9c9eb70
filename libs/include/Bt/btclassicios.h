// The "C" locale for a stream, for a while.
#pragma once

#include <ios>
#include <locale>

// While it lives, numbers go through the stream in the form that files have: with a point, and
// without groups of digits.
class BtClassicIos {
 public:
  explicit BtClassicIos(std::ios& stream)
      : _stream(stream), _is_other(stream.getloc() != std::locale::classic()) {
    if (_is_other) _before = stream.imbue(std::locale::classic());
  }
  ~BtClassicIos() {
    if (_is_other) _stream.imbue(_before);
  }
  BtClassicIos(const BtClassicIos&) = delete;
  BtClassicIos& operator=(const BtClassicIos&) = delete;

 private:
  std::ios& _stream;
  bool _is_other;
  std::locale _before;
};
