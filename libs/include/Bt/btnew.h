// Raw memory for the containers. Running out of memory ends the process: nothing that the system
// does makes sense with half a model.
#pragma once

#include <cstddef>

// Resizes `block` (null for a new one) to `count` elements of `size` bytes. Prints "Unable to
// allocate memory!" and ends the process with status 1 where that fails.
void* BtReallocOrExit(void* block, std::size_t count, std::size_t size);

// A new block of zeros, in the same way. Pages of a large one are there when they are written to.
void* BtZeroedOrExit(std::size_t count, std::size_t size);

// For whoever finds that there is no memory and cannot tell how much was asked for: prints "Unable
// to allocate memory!" and ends the process with status 1.
[[noreturn]] void BtExitWithoutMemory();
