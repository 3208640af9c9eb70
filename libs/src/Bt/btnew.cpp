#include "Bt/btnew.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

// Prints the message, which goes behind everything that was printed before.
void SayThatThereIsNoMemory() {
  std::cout.flush();
  std::fflush(stdout);
  std::fputs("Unable to allocate memory!\n", stderr);
}

[[noreturn]] void ExitWithout(std::size_t count, std::size_t size) {
  // A product that overflows is shown all the same, so it is not computed in integers.
  const long double total = static_cast<long double>(count) * static_cast<long double>(size);
  SayThatThereIsNoMemory();
  std::fprintf(stderr, "Attempted to allocate %zu elements, total size: %.0Lf\n", count, total);
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

void* BtReallocOrExit(void* block, std::size_t count, std::size_t size) {
  std::size_t bytes = 0;
  void* result = nullptr;
  if (!__builtin_mul_overflow(count, size, &bytes)) {
    result = std::realloc(block, std::max<std::size_t>(bytes, 1));
  }
  if (result == nullptr) ExitWithout(count, size);
  return result;
}

void* BtZeroedOrExit(std::size_t count, std::size_t size) {
  void* const result = std::calloc(count, size);
  if (result == nullptr) ExitWithout(count, size);
  return result;
}

void BtExitWithoutMemory() {
  SayThatThereIsNoMemory();
  std::_Exit(EXIT_FAILURE);
}
