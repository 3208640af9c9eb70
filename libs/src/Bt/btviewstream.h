// An input stream over text that is in memory already and is not copied.
#pragma once

#include <istream>
#include <streambuf>
#include <string_view>

// Reads a text that must outlive it. The whole text is the buffer's get area.
class BtViewBuf : public std::streambuf {
 public:
  explicit BtViewBuf(std::string_view text) {
    char* const begin = const_cast<char*>(text.data());  // a get area is never written through
    setg(begin, begin, begin + text.size());
  }
  // What has not been read yet.
  [[nodiscard]] std::string_view rest() const {
    return {gptr(), static_cast<std::size_t>(egptr() - gptr())};
  }
};

class BtViewStream : public std::istream {
 public:
  explicit BtViewStream(std::string_view text) : std::istream(nullptr), _view_buf(text) {
    rdbuf(&_view_buf);
  }
  [[nodiscard]] std::string_view rest() const { return _view_buf.rest(); }

 private:
  BtViewBuf _view_buf;
};
