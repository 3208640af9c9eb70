// Memory for very many small arrays that live equally long.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

// Hands out small pieces of large blocks and gives all of them back at once: a piece costs no call
// of the allocator, and no bytes but its own.
class BtArena {
 public:
  BtArena() = default;
  BtArena(const BtArena&) = delete;
  BtArena& operator=(const BtArena&) = delete;

  // Memory for any kind of object up to `bytes` bytes; null for more than kLargestPiece of them.
  void* take(std::size_t bytes) {
    bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    if (bytes > kLargestPiece) return nullptr;
    if (bytes > _left) _addBlock();
    _left -= bytes;
    return _blocks.back().get() + _left;
  }
  // Frees everything; what stood there must be gone.
  void clear() {
    _blocks.clear();
    _left = 0;
    _next_size = kFirstBlockSize;
  }

  static constexpr std::size_t kLargestPiece = 4096;

 private:
  static constexpr std::size_t kAlignment = alignof(void*);
  // Blocks double in size, so that few are needed and little is left over.
  static constexpr std::size_t kFirstBlockSize = std::size_t{1} << 18U;
  static constexpr std::size_t kLastBlockSize = std::size_t{1} << 21U;

  void _addBlock();

  std::vector<std::unique_ptr<std::byte[]>> _blocks;
  std::size_t _left = 0;  // of the last block, at its start
  std::size_t _next_size = kFirstBlockSize;
};
