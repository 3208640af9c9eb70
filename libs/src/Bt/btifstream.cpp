#include "Bt/btifstream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Bt/btexcept.h"

namespace {

constexpr std::size_t kReadBlockSize = std::size_t{256} * 1024;
// Characters kept in front of a new block, so that putback works across its border.
constexpr std::size_t kPutback = 16;
// Milliseconds between two questions whether the user wants to stop.
constexpr int kAskAgainMs = 100;

// After a failure: true where a signal broke in that was not the user's wish to stop, which is
// recorded otherwise.
bool MayTryAgain() { return errno == EINTR && !theExceptObj.checkCancel(); }

}  // namespace

BtFileBuf::~BtFileBuf() { close(); }

bool BtFileBuf::open(const char* file_name, BtFileKind kind) {
  close();
  const int waiting = kind == BtFileKind::Regular ? O_NONBLOCK : 0;
  int fd = -1;
  do {  // opening a pipe waits for its writer
    fd = ::open(file_name, O_RDONLY | O_CLOEXEC | O_NOCTTY | waiting);
  } while (fd < 0 && MayTryAgain());
  if (fd < 0) return false;
  struct stat info = {};
  if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    if (S_ISDIR(info.st_mode)) errno = EISDIR;
    ::close(fd);
    return false;
  }
  if (kind == BtFileKind::Regular && !S_ISREG(info.st_mode)) {
    theExceptObj.set("'%s' is not a regular file.", file_name);
    ::close(fd);
    return false;
  }
  adopt(fd);
  _may_wait = !S_ISREG(info.st_mode);
  _size_hint = S_ISREG(info.st_mode) ? info.st_size : 0;
  return true;
}

void BtFileBuf::adopt(int fd) {
  close();
  _fd = fd;
  _may_wait = false;
  _ended = false;
  _stopped = false;
  _size_hint = 0;
  _bytes_read = 0;
  if (_block == nullptr) _block = std::make_unique_for_overwrite<char[]>(kPutback + kReadBlockSize);
}

void BtFileBuf::close() {
  if (_fd >= 0) ::close(_fd);
  _fd = -1;
  setg(nullptr, nullptr, nullptr);
}

BtFileBuf::int_type BtFileBuf::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (_fd < 0 || _ended) return traits_type::eof();
  const std::size_t kept =
      std::min<std::size_t>(kPutback, static_cast<std::size_t>(egptr() - eback()));
  char* const start = _block.get() + kPutback;
  if (kept > 0) std::memmove(start - kept, egptr() - kept, kept);
  long long count = readBlock(start, kReadBlockSize);
  if (count > 0 && _counter != nullptr && !_counter(count)) {
    _stopped = true;
    count = -1;
  }
  _ended = count <= 0;
  if (count < 0) _owner.setstate(std::ios::badbit);
  if (count > 0) _bytes_read += count;
  setg(start - kept, start, start + (count > 0 ? count : 0));
  return count > 0 ? traits_type::to_int_type(*start) : traits_type::eof();
}

long long BtFileBuf::readBlock(char* to, std::size_t size) {
  ssize_t count = 0;
  do {
    if (_may_wait && !_awaitInput()) return -1;
    count = ::read(_fd, to, size);
  } while (count < 0 && MayTryAgain());
  return count;
}

// Waits in short turns: a signal may come just before a wait and not break it off. False, with an
// error recorded, when the user wants to stop.
bool BtFileBuf::_awaitInput() const {
  pollfd input = {_fd, POLLIN, 0};
  while (poll(&input, 1, kAskAgainMs) <= 0) {
    if (theExceptObj.checkCancel()) return false;
  }
  return true;
}

BtIFStream::BtIFStream(const char* file_name, BtFileKind kind)
    : std::istream(nullptr), _file_buf(*this) {
  rdbuf(&_file_buf);
  if (!_file_buf.open(file_name, kind)) setstate(std::ios::failbit);
}
