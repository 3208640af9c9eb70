#include "Bt/btarena.h"

#include <sys/mman.h>

#include <algorithm>
#include <functional>

BtArena::Block BtArena::_newBlock() {
  std::size_t size = std::min(_next_size, _largest_size);
  _blocks.push_back({std::make_unique_for_overwrite<std::byte[]>(size), size});
  const Block block = {_blocks.back().bytes.get(), size};
  _next_size = 2 * size;
  // All pages at once, which is quicker than one by one as they are met. Where the system does not
  // know how, they come as they are met.
  constexpr std::size_t kPage = 4096;
  void* start = block.start;
  if (std::align(kPage, kPage, start, size) != nullptr) {
    madvise(start, size / kPage * kPage, MADV_POPULATE_WRITE);
  }
  return block;
}

void BtArena::freeBefore(std::span<const void* const> pieces) {
  auto first = _blocks.end();
  for (const void* piece : pieces) {
    const auto block = std::find_if(_blocks.begin(), _blocks.end(), [piece](const Owned& owned) {
      const std::byte* const start = owned.bytes.get();
      return std::greater_equal<>()(piece, static_cast<const void*>(start)) &&
             std::less<>()(piece, static_cast<const void*>(start + owned.size));
    });
    if (block == _blocks.end()) return;
    first = std::min(first, block);
  }
  _blocks.erase(_blocks.begin(), first);
}
