#include "Bt/btsstreambuf.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace {

constexpr std::size_t kFirstSize = 256;

void* DefaultResize(void* block, std::size_t size) { return std::realloc(block, size); }

}  // namespace

BtSStreamBuf::BtSStreamBuf() : BtSStreamBuf(DefaultResize) {}

BtSStreamBuf::~BtSStreamBuf() { std::free(pbase()); }

void BtSStreamBuf::clear() {
  _setAreas(pbase(), static_cast<std::size_t>(epptr() - pbase()), 0, 0);
}

BtSStreamBuf::int_type BtSStreamBuf::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  if (pptr() == epptr()) _grow(1);
  return sputc(traits_type::to_char_type(c));
}

BtSStreamBuf::int_type BtSStreamBuf::underflow() {
  setg(eback(), gptr(), pptr());  // what has been written since
  return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

std::streamsize BtSStreamBuf::xsputn(const char* text, std::streamsize count) {
  const std::size_t size = static_cast<std::size_t>(std::max<std::streamsize>(count, 0));
  if (size == 0) return 0;
  if (static_cast<std::size_t>(epptr() - pptr()) < size) _grow(size);
  std::memcpy(pptr(), text, size);
  const std::size_t used = view().size() + size;
  _setAreas(pbase(), static_cast<std::size_t>(epptr() - pbase()), used,
            static_cast<std::size_t>(gptr() - eback()));
  return count;
}

void BtSStreamBuf::_grow(std::size_t wanted) {
  const std::size_t used = view().size();
  const std::size_t read = static_cast<std::size_t>(gptr() - eback());
  const std::size_t size = std::max({kFirstSize, 2 * used, used + wanted});
  char* const block = static_cast<char*>(_resize(pbase(), size));
  if (block == nullptr) {
    std::cerr << (pbase() == nullptr ? "\nUnable to allocate stream buffer, aborting.\n"
                                     : "\nUnable to increase stream buffer size, aborting.\n")
              << std::flush;
    std::abort();
  }
  _setAreas(block, size, used, read);
}

void BtSStreamBuf::_setAreas(char* block, std::size_t size, std::size_t used, std::size_t read) {
  constexpr std::size_t kMaxStep = std::size_t{1} << 30;  // pbump() takes an int
  setp(block, block + size);
  for (std::size_t left = used; left > 0; left -= std::min(left, kMaxStep)) {
    pbump(static_cast<int>(std::min(left, kMaxStep)));
  }
  setg(block, block + read, block + used);
}
