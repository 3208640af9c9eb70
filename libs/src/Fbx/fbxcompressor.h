// Compresses the arrays of binary files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

class FbxOutputFile;
struct isal_zstream;

// Writes the zlib format. The same bytes give the same result on every x86-64 processor since the
// first with SSE 4.2.
class FbxCompressor {
 public:
  FbxCompressor();
  ~FbxCompressor();
  FbxCompressor(const FbxCompressor&) = delete;
  FbxCompressor& operator=(const FbxCompressor&) = delete;

  // Writes the bytes, compressed, to the file.
  void compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file);

 private:
  std::unique_ptr<isal_zstream> _stream;
  std::unique_ptr<std::uint8_t[]> _work;
  std::unique_ptr<std::uint8_t[]> _output;
};
