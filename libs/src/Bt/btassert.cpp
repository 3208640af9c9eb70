#include "Bt/btassert.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

void BtAssertFailed(std::initializer_list<const char*> texts, const char* file, int line,
                    const char* function) {
  // What was printed before belongs before the message.
  std::cout.flush();
  std::fflush(stdout);
  std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function,
               *(texts.end() - 1));
  std::fflush(stderr);
  std::abort();
}
