#include "fbxcompressor.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <algorithm>

#include "Bt/btassert.h"
#include "Bt/btnew.h"
#include "fbxoutputfile.h"

namespace {

// Numbers with many random digits are as small from the fast compressor, which takes half the time;
// indices may be much smaller from the other one. A sample of an array shows which it is.
constexpr int kFastLevel = 1;
constexpr std::size_t kFastWorkSize = ISAL_DEF_LVL1_DEFAULT;
constexpr int kThoroughLevel = 2;
constexpr std::size_t kSampleSize = std::size_t{1} << 15U;
constexpr double kMuchSmaller = 0.9;

constexpr std::size_t kOutputSize = std::size_t{1} << 18U;
constexpr std::size_t kMaxInput = std::size_t{1} << 30U;  // its lengths are of 32 bits

}  // namespace

FbxCompressor::FbxCompressor()
    : _fast(std::make_unique<isal_zstream>()),
      _fast_work(std::make_unique_for_overwrite<std::uint8_t[]>(kFastWorkSize)),
      _thorough(libdeflate_alloc_compressor(kThoroughLevel), libdeflate_free_compressor),
      _output(std::make_unique_for_overwrite<std::uint8_t[]>(kOutputSize)),
      _output_size(kOutputSize) {
  if (_thorough == nullptr) BtExitWithoutMemory();
}

FbxCompressor::~FbxCompressor() = default;

void FbxCompressor::compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file) {
  const auto sample = bytes.first(std::min(bytes.size(), kSampleSize));
  const auto fast = static_cast<double>(_compressFast(sample, nullptr));
  const auto thorough = static_cast<double>(_compressThoroughly(sample, nullptr));
  if (thorough < kMuchSmaller * fast) {
    _compressThoroughly(bytes, file);
  } else {
    _compressFast(bytes, file);
  }
}

std::uint64_t FbxCompressor::_compressFast(std::span<const std::uint8_t> bytes,
                                           FbxOutputFile* file) {
  isal_deflate_init(_fast.get());
  _fast->level = kFastLevel;
  _fast->level_buf = _fast_work.get();
  _fast->level_buf_size = kFastWorkSize;
  _fast->gzip_flag = IGZIP_ZLIB;
  _fast->flush = NO_FLUSH;
  std::uint64_t size = 0;
  do {
    if (_fast->avail_in == 0) {
      const auto part = bytes.first(std::min(bytes.size(), kMaxInput));
      bytes = bytes.subspan(part.size());
      _fast->next_in = const_cast<std::uint8_t*>(part.data());  // is only read
      _fast->avail_in = static_cast<std::uint32_t>(part.size());
      _fast->end_of_stream = bytes.empty() ? 1 : 0;
    }
    _fast->next_out = _output.get();
    _fast->avail_out = static_cast<std::uint32_t>(kOutputSize);
    const int result = isal_deflate(_fast.get());
    BtAssert(result == COMP_OK);
    const std::size_t made = kOutputSize - _fast->avail_out;
    if (file != nullptr) file->write(_output.get(), made);
    size += made;
  } while (_fast->internal_state.state != ZSTATE_END && (file == nullptr || file->ok()));
  return size;
}

std::uint64_t FbxCompressor::_compressThoroughly(std::span<const std::uint8_t> bytes,
                                                 FbxOutputFile* file) {
  const std::size_t room = libdeflate_zlib_compress_bound(_thorough.get(), bytes.size());
  if (room > _output_size) {
    _output = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    _output_size = room;
  }
  const std::size_t size = libdeflate_zlib_compress(_thorough.get(), bytes.data(), bytes.size(),
                                                    _output.get(), _output_size);
  BtAssert(size > 0);
  if (file != nullptr) file->write(_output.get(), size);
  return size;
}
