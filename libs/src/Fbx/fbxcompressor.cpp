#include "fbxcompressor.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>

#include "Bt/btassert.h"
#include "fbxoutputfile.h"

namespace {

constexpr int kLevel = 1;
constexpr std::size_t kWorkSize = ISAL_DEF_LVL1_DEFAULT;
constexpr std::size_t kOutputSize = std::size_t{1} << 18U;
constexpr std::size_t kMaxInput = std::size_t{1} << 30U;  // its lengths are of 32 bits

}  // namespace

FbxCompressor::FbxCompressor()
    : _stream(std::make_unique_for_overwrite<isal_zstream>()),
      _work(std::make_unique_for_overwrite<std::uint8_t[]>(kWorkSize)),
      _output(std::make_unique_for_overwrite<std::uint8_t[]>(kOutputSize)) {}

FbxCompressor::~FbxCompressor() = default;

void FbxCompressor::compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file) {
  isal_deflate_init(_stream.get());
  _stream->level = kLevel;
  _stream->level_buf = _work.get();
  _stream->level_buf_size = kWorkSize;
  _stream->gzip_flag = IGZIP_ZLIB;
  _stream->flush = NO_FLUSH;
  _stream->avail_in = 0;
  do {
    if (_stream->avail_in == 0) {
      const auto part = bytes.first(std::min(bytes.size(), kMaxInput));
      bytes = bytes.subspan(part.size());
      _stream->next_in = const_cast<std::uint8_t*>(part.data());  // is only read
      _stream->avail_in = static_cast<std::uint32_t>(part.size());
      _stream->end_of_stream = bytes.empty() ? 1 : 0;
    }
    _stream->next_out = _output.get();
    _stream->avail_out = static_cast<std::uint32_t>(kOutputSize);
    const int result = isal_deflate(_stream.get());
    BtAssert(result == COMP_OK);
    file->write(_output.get(), kOutputSize - _stream->avail_out);
  } while (_stream->internal_state.state != ZSTATE_END && file->ok());
}
