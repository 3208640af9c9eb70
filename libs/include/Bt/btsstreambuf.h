// The stream buffer of texts in memory: it grows as it is written to, and what has been written can
// be read from it, or looked at without a copy.
#pragma once

#include <cstddef>
#include <streambuf>
#include <string_view>

class BtSStreamBuf : public std::streambuf {
 public:
  // Changes the size of a block of memory as std::realloc does; null when there is no more.
  using Resize = void* (*)(void* block, std::size_t size);

  BtSStreamBuf();
  explicit BtSStreamBuf(Resize resize) : _resize(resize) {}
  ~BtSStreamBuf() override;
  BtSStreamBuf(const BtSStreamBuf&) = delete;
  BtSStreamBuf& operator=(const BtSStreamBuf&) = delete;

  // All that was written; valid until more is.
  [[nodiscard]] std::string_view view() const {
    return {pbase(), static_cast<std::size_t>(pptr() - pbase())};
  }
  // Forgets the text and keeps the memory.
  void clear();

 protected:
  // Grows the buffer. Ends the process, with a message on standard error, when that fails.
  int_type overflow(int_type c) override;
  int_type underflow() override;
  std::streamsize xsputn(const char* text, std::streamsize count) override;

 private:
  void _grow(std::size_t wanted);
  // Places the areas: `used` bytes written, `read` of them read, in a block of `size` bytes.
  void _setAreas(char* block, std::size_t size, std::size_t used, std::size_t read);

  Resize _resize;
};
