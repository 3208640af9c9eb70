#include "btifstream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "btexcept.h"

namespace {

constexpr std::size_t kReadBlockSize = std::size_t{256} * 1024;
// Characters kept in front of a new block, so that putback works across its border.
constexpr std::size_t kPutback = 16;

// After a failure: true where a signal broke in that was not the user's wish to stop, which is
// recorded otherwise.
bool MayTryAgain() { return errno == EINTR && !theExceptObj.checkCancel(); }

}  // namespace

BtFileBuf::~BtFileBuf() { close(); }

bool BtFileBuf::open(const char* file_name) {
  close();
  int fd = -1;
  do {  // opening a pipe waits for its writer
    fd = ::open(file_name, O_RDONLY | O_CLOEXEC | O_NOCTTY);
  } while (fd < 0 && MayTryAgain());
  if (fd < 0) return false;
  struct stat info = {};
  if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    if (S_ISDIR(info.st_mode)) errno = EISDIR;
    ::close(fd);
    return false;
  }
  adopt(fd);
  _size_hint = S_ISREG(info.st_mode) ? info.st_size : 0;
  return true;
}

void BtFileBuf::adopt(int fd) {
  close();
  _fd = fd;
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
  if (_fd < 0) return traits_type::eof();
  const std::size_t kept =
      std::min<std::size_t>(kPutback, static_cast<std::size_t>(egptr() - eback()));
  char* const start = _block.get() + kPutback;
  if (kept > 0) std::memmove(start - kept, egptr() - kept, kept);
  const long long count = readBlock(start, kReadBlockSize);
  if (count < 0) _owner.setstate(std::ios::badbit);
  if (count > 0) _bytes_read += count;
  setg(start - kept, start, start + (count > 0 ? count : 0));
  return count > 0 ? traits_type::to_int_type(*start) : traits_type::eof();
}

long long BtFileBuf::readBlock(char* to, std::size_t size) {
  ssize_t count = 0;
  do {
    count = ::read(_fd, to, size);
  } while (count < 0 && MayTryAgain());
  return count;
}

BtIFStream::BtIFStream(const char* file_name) : std::istream(nullptr), _file_buf(*this) {
  rdbuf(&_file_buf);
  if (!_file_buf.open(file_name)) setstate(std::ios::failbit);
}
