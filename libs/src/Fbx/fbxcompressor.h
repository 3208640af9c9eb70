// Compresses the arrays of binary files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

class FbxOutputFile;
struct isal_zstream;
struct libdeflate_compressor;

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
  // Each answers the number of bytes that it made. Without a file they are only counted.
  std::uint64_t _compressFast(std::span<const std::uint8_t> bytes, FbxOutputFile* file);
  std::uint64_t _compressThoroughly(std::span<const std::uint8_t> bytes, FbxOutputFile* file);

  std::unique_ptr<isal_zstream> _fast;
  std::unique_ptr<std::uint8_t[]> _fast_work;
  std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> _thorough;
  std::unique_ptr<std::uint8_t[]> _output;
  std::size_t _output_size = 0;
};
