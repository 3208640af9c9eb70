// Loaded before a program to make one of its calls fail. KESTRIX_FAULT="<call> <n> <errno>" names
// the n-th call of a kind from main() on: a memory request fails as for want of memory, another
// call with this error, or, for error 0, as a read at the end of a file. "space <n> 0" leaves the
// program n kilobytes to live in. KESTRIX_FAULT_COUNT names a file that takes the number of such
// calls when the program has ended by itself.

// The checked forms of the calls would stand in the way of what is defined here.
#undef _FORTIFY_SOURCE

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

struct Fault {
  char call[16] = {};
  long number = 0;
  int error = 0;
  bool armed = false;
  long count = 0;
};
Fault fault;

// Whether this call is the one that is to fail.
bool Fails(std::string_view call) {
  if (!fault.armed || call != fault.call || ++fault.count != fault.number) return false;
  errno = fault.error;
  return true;
}

template <class Function>
Function* Real(Function* /*own*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void WriteCount() {
  const char* const name = std::getenv("KESTRIX_FAULT_COUNT");
  fault.armed = false;
  if (name == nullptr) return;
  const int fd = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dprintf(fd, "%ld", fault.count);
  close(fd);
}

int (*real_main)(int, char**, char**) = nullptr;

int ArmAndRun(int argc, char** argv, char** environment) {
  if (const char* text = std::getenv("KESTRIX_FAULT"); text != nullptr) {
    char* rest = const_cast<char*>(std::strchr(text, ' '));
    std::memcpy(fault.call, text,
                std::min(static_cast<std::size_t>(rest - text), sizeof fault.call - 1));
    fault.number = std::strtol(rest, &rest, 10);
    fault.error = static_cast<int>(std::strtol(rest, &rest, 10));
    fault.armed = true;
  }
  if (fault.call == std::string_view("space")) {
    const rlimit space = {static_cast<rlim_t>(fault.number) * 1024, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &space);
  }
  const int status = real_main(argc, argv, environment);
  WriteCount();
  return status;
}

}  // namespace

extern "C" {

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, int (*init)(),
                      void (*fini)(), void (*rtld_fini)(), void* stack_end) {
  real_main = main;
  const auto real = Real(&__libc_start_main, "__libc_start_main");
  return real(ArmAndRun, argc, argv, init, fini, rtld_fini, stack_end);
}

void* malloc(std::size_t size) { return Fails("memory") ? nullptr : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) {
  return Fails("memory") ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  return Fails("memory") ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return Fails("memory") ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = aligned_alloc(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

int open(const char* name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  if (Fails((flags & O_TMPFILE) == O_TMPFILE ? "tmpfile" : "open")) return -1;
  static const auto real = Real(&open, "open");
  return real(name, flags, mode);
}
ssize_t read(int fd, void* to, std::size_t size) {
  if (Fails("read")) return fault.error == 0 ? 0 : -1;
  static const auto real = Real(&read, "read");
  return real(fd, to, size);
}
int close(int fd) {
  static const auto real = Real(&close, "close");
  const int result = real(fd);
  return Fails("close") ? -1 : result;  // a file is closed even where that fails
}

// A call that fails where it is to, and else does what it does.
#define KESTRIX_FALLIBLE(result, name, parameters, arguments) \
  result name parameters {                                    \
    if (Fails(#name)) return -1;                              \
    static const auto real = Real(&name, #name);              \
    return real arguments;                                    \
  }
KESTRIX_FALLIBLE(ssize_t, write, (int fd, const void* from, std::size_t size), (fd, from, size))
KESTRIX_FALLIBLE(int, fsync, (int fd), (fd))
KESTRIX_FALLIBLE(int, fchmod, (int fd, mode_t mode), (fd, mode))
KESTRIX_FALLIBLE(int, linkat, (int from_fd, const char* from, int to_fd, const char* to, int flags),
                 (from_fd, from, to_fd, to, flags))
KESTRIX_FALLIBLE(int, rename, (const char* from, const char* to), (from, to))
}
// NOLINTEND(bugprone-reserved-identifier)
