// Compresses the arrays of binary files.
#pragma once

#include <isa-l/igzip_lib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

class FbxOutputFile;

// Writes the zlib format. The same bytes give the same result on every x86-64 processor since the
// first with SSE 4.2.
class FbxCompressor {
 public:
  FbxCompressor();
  FbxCompressor(const FbxCompressor&) = delete;
  FbxCompressor& operator=(const FbxCompressor&) = delete;

  // Writes the bytes, compressed, to the file.
  void compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file);

 private:
  // Compresses all of a part and writes what comes of it so far.
  void _add(std::span<const std::uint8_t> part, bool is_last, FbxOutputFile* file);

  isal_zstream _stream;  // 80 kB, which each array begins anew
  std::unique_ptr<std::uint8_t[]> _work;
  std::unique_ptr<std::uint8_t[]> _output;
};
