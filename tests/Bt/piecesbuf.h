// A text that a stream sees in pieces.
#pragma once

#include <algorithm>
#include <streambuf>
#include <string>
#include <utility>

// The first piece has `first` characters, those that follow have `step`. With steps of 0 there is
// never a get area, as with a synchronized standard input.
class PiecesBuf : public std::streambuf {
 public:
  PiecesBuf(std::string text, std::size_t first, std::size_t step)
      : _text(std::move(text)), _step(step) {
    _show(first);
  }

 protected:
  int_type underflow() override {
    if (_shown == _text.size()) return traits_type::eof();
    if (_step == 0) return traits_type::to_int_type(_text[_shown]);
    _show(_step);
    return traits_type::to_int_type(*gptr());
  }
  int_type uflow() override {
    if (_step > 0) return std::streambuf::uflow();
    const int_type c = underflow();
    if (c != traits_type::eof()) ++_shown;
    return c;
  }

 private:
  void _show(std::size_t count) {
    char* const begin = _text.data() + _shown;
    _shown += std::min(count, _text.size() - _shown);
    setg(begin, begin, _text.data() + _shown);
  }

  std::string _text;
  std::size_t _step;
  std::size_t _shown = 0;
};
