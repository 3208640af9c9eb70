#include "fbxcompressor.h"

#include <libdeflate.h>

#include "Bt/btassert.h"
#include "Bt/btnew.h"
#include "fbxoutputfile.h"

namespace {

// The numbers of a mesh gain little from more effort.
constexpr int kLevel = 1;

}  // namespace

FbxCompressor::FbxCompressor()
    : _compressor(libdeflate_alloc_compressor(kLevel), libdeflate_free_compressor) {
  if (_compressor == nullptr) BtExitWithoutMemory();
}

void FbxCompressor::compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file) {
  const std::size_t room = libdeflate_zlib_compress_bound(_compressor.get(), bytes.size());
  if (room > _output_size) {
    _output.reset();
    _output = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    _output_size = room;
  }
  const std::size_t size = libdeflate_zlib_compress(_compressor.get(), bytes.data(), bytes.size(),
                                                    _output.get(), _output_size);
  BtAssert(size > 0);
  file->write(_output.get(), size);
}
