// Memory for very many small arrays that live equally long.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

// Hands out small pieces of large blocks and gives all of them back at once: a piece costs no call
// of the allocator, and no bytes but its own.
class BtArena {
 public:
  BtArena() = default;
  BtArena(const BtArena&) = delete;
  BtArena& operator=(const BtArena&) = delete;

  // Memory for arrays of any kind of object, up to `bytes` bytes; null for more than kLargestPiece
  // of them.
  void* take(std::size_t bytes) { return _take(bytes, &_arrays); }
  // The same for the objects that have the arrays: they stand by themselves, so that a walk through
  // them does not have to pass the arrays.
  void* takeForObject(std::size_t bytes) { return _take(bytes, &_objects); }
  // Frees the blocks that were full before the first of these pieces was handed out; what stood
  // there must be gone. None where a piece is not in the arena: nobody knows what is needed then.
  void freeBefore(std::span<const void* const> pieces);
  // Frees everything; what stood there must be gone.
  void clear() {
    _blocks.clear();
    _arrays = {};
    _objects = {};
    _next_size = kFirstBlockSize;
    _largest_size = kLargestBlockSize;
  }
  // Blocks that are begun from now on are not larger. For where memory is free in pieces, in which
  // larger ones find no place.
  void limitBlocks(std::size_t bytes) { _largest_size = bytes; }

  static constexpr std::size_t kLargestPiece = 4096;
  static constexpr std::size_t kAlignment = alignof(void*);

 private:
  // Blocks double in size, so that few are needed and little is left over, up to the largest.
  static constexpr std::size_t kFirstBlockSize = std::size_t{1} << 16U;
  static constexpr std::size_t kLargestBlockSize = std::size_t{1} << 21U;

  // A block that pieces are taken from, at its end.
  struct Block {
    std::byte* start = nullptr;
    std::size_t left = 0;
  };

  void* _take(std::size_t bytes, Block* block) {
    bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    if (bytes > kLargestPiece) return nullptr;
    if (bytes > block->left) *block = _newBlock();
    block->left -= bytes;
    return block->start + block->left;
  }
  Block _newBlock();

  // The memory of a block.
  struct Owned {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size;
  };

  std::vector<Owned> _blocks;  // in the order in which they were begun
  Block _arrays;
  Block _objects;
  std::size_t _next_size = kFirstBlockSize;
  std::size_t _largest_size = kLargestBlockSize;
};
