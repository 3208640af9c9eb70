#include "fbxsourcefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

FbxSourceFile::~FbxSourceFile() {
  if (_fd >= 0) close(_fd);
}

bool FbxSourceFile::open(const std::string& name) {
  _name = name;
  // Without O_NONBLOCK the opening of a pipe would wait for a writer.
  _fd = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat status {};
  if (_fd < 0 || fstat(_fd, &status) != 0) {
    _errno = errno;
    return false;
  }
  _missing = status.st_size;
  if (S_ISREG(status.st_mode)) return true;
  _errno = S_ISDIR(status.st_mode) ? EISDIR : 0;
  return false;
}

std::ptrdiff_t FbxSourceFile::read(std::span<char> buffer) {
  ssize_t count = 0;
  do {
    count = ::read(_fd, buffer.data(), buffer.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) _errno = errno;
  if (count > 0) _missing -= count;
  _cut = count == 0 && _missing > 0;
  return _cut ? -1 : count;
}

const char* FbxSourceFile::reason() const {
  if (_cut) return "it became shorter while it was read";
  return _errno == 0 ? "not a regular file" : std::strerror(_errno);
}
