// Compresses the arrays of binary files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

class FbxOutputFile;
struct libdeflate_compressor;

// Writes the zlib format. The same bytes give the same result on every processor.
class FbxCompressor {
 public:
  FbxCompressor();

  // Writes the bytes, compressed, to the file.
  void compress(std::span<const std::uint8_t> bytes, FbxOutputFile* file);

 private:
  std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> _compressor;
  std::unique_ptr<std::uint8_t[]> _output;
  std::size_t _output_size = 0;
};
