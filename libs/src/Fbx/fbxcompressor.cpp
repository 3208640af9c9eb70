#include "fbxcompressor.h"

#include <algorithm>

#include "Bt/btassert.h"
#include "fbxoutputfile.h"

namespace {

constexpr int kLevel = 1;
constexpr std::size_t kWorkSize = ISAL_DEF_LVL1_DEFAULT;
constexpr std::size_t kOutputSize = std::size_t{1} << 18U;
constexpr std::size_t kMaxPart = std::size_t{1} << 30U;  // its lengths are of 32 bits

// ISA-L (up to 2.30 at least) looks up the third byte of a stream, if its fast loop meets it, under
// a hash of the address of isal_zstream instead of the bytes there. The result is valid, but one
// address of thousands finds another match. The loop leaves the last 16 bytes before a flush to
// slower code, which has no such fault: so 16 bytes begin each stream, at the cost of some bytes.
constexpr std::size_t kBegin = 16;

}  // namespace

FbxCompressor::FbxCompressor()
    : _work(std::make_unique_for_overwrite<std::uint8_t[]>(kWorkSize)),
      _output(std::make_unique_for_overwrite<std::uint8_t[]>(kOutputSize)) {}

void FbxCompressor::compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file) {
  isal_deflate_init(&_stream);
  _stream.level = kLevel;
  _stream.level_buf = _work.get();
  _stream.level_buf_size = kWorkSize;
  _stream.gzip_flag = IGZIP_ZLIB;
  std::size_t size = kBegin;
  do {
    const auto part = bytes.first(std::min(bytes.size(), size));
    bytes = bytes.subspan(part.size());
    _add(part, bytes.empty(), file);
    size = kMaxPart;
  } while (!bytes.empty() && file->ok());
}

void FbxCompressor::_add(std::span<const std::uint8_t> part, bool is_last, FbxOutputFile* file) {
  _stream.next_in = const_cast<std::uint8_t*>(part.data());  // is only read
  _stream.avail_in = static_cast<std::uint32_t>(part.size());
  _stream.end_of_stream = is_last ? 1 : 0;
  _stream.flush = is_last ? NO_FLUSH : SYNC_FLUSH;
  do {
    _stream.next_out = _output.get();
    _stream.avail_out = static_cast<std::uint32_t>(kOutputSize);
    const int result = isal_deflate(&_stream);
    BtAssert(result == COMP_OK);
    file->write(_output.get(), kOutputSize - _stream.avail_out);
  } while (_stream.avail_out == 0 && file->ok());
}
