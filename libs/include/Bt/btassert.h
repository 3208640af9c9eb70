// The assertion of the whole system. It is always on, in release builds too: a broken invariant
// must never become a wrong file.
#pragma once

#include <initializer_list>

// Prints the last of `texts`, the place and the full function signature on standard error, then
// aborts.
[[noreturn]] void BtAssertFailed(std::initializer_list<const char*> texts, const char* file,
                                 int line, const char* function);

// BtAssert(condition) shows the condition as written. BtAssert(condition, "text") shows the text
// instead, where the text that people know differs from the expression that tests it.
#define BtAssert(condition, ...)                                                             \
  ((condition) ? static_cast<void>(0)                                                        \
               : BtAssertFailed({#condition __VA_OPT__(, ) __VA_ARGS__}, __FILE__, __LINE__, \
                                static_cast<const char*>(__PRETTY_FUNCTION__)))
