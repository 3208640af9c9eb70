#include "Bt/btarena.h"

#include <sys/mman.h>

#include <algorithm>

BtArena::Block BtArena::_newBlock() {
  std::size_t size = _next_size;
  _blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
  const Block block = {_blocks.back().get(), size};
  _next_size = std::min(2 * size, kLastBlockSize);
  // All pages at once, which is quicker than one by one as they are met. Where the system does not
  // know how, they come as they are met.
  constexpr std::size_t kPage = 4096;
  void* start = block.start;
  if (std::align(kPage, kPage, start, size) != nullptr) {
    madvise(start, size / kPage * kPage, MADV_POPULATE_WRITE);
  }
  return block;
}
