#include "fbxoutputfile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "btassert.h"
#include "btexcept.h"

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::uint64_t kBytesPerQuestion = std::uint64_t{4} << 20;
constexpr int kMaxLinks = 40;
constexpr mode_t kPermissions = 0777;

// What a chain of symbolic links ends at, whether that exists or not; empty, with errno set, for a
// chain without an end.
std::string FollowLinks(const std::string& path) {
  std::filesystem::path place = path;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code no_link;
    const std::filesystem::path next = std::filesystem::read_symlink(place, no_link);
    if (no_link) return place;
    place = place.parent_path() / next;  // an absolute one replaces the folder
  }
  errno = ELOOP;
  return {};
}

// The permissions that a new file gets.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

FbxOutputFile::~FbxOutputFile() { _close(); }

bool FbxOutputFile::open(const std::string& target) {
  _target = target;
  _buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
  _room = std::min<std::uint64_t>(kBufferSize, _max_size);
  struct stat older {};
  const bool exists = stat(target.c_str(), &older) == 0;
  if (!exists && errno != ENOENT) return _failErrno();
  if (exists && S_ISDIR(older.st_mode)) {
    errno = EISDIR;
    return _failErrno();
  }
  if (exists && !S_ISREG(older.st_mode)) return _createInMemory();
  if (exists && access(target.c_str(), W_OK) != 0) return _failErrno();
  const std::string path = FollowLinks(target);
  if (path.empty()) return _failErrno();
  if (exists) {
    // A file that is open but has no name any more can be reached through /proc only, not replaced.
    struct stat found {};
    if (lstat(path.c_str(), &found) != 0 || found.st_ino != older.st_ino ||
        found.st_dev != older.st_dev) {
      return _createInMemory();
    }
    _older = {older.st_mode & kPermissions, older.st_uid, older.st_gid};
  }
  return _createBeside(path);
}

bool FbxOutputFile::_createBeside(const std::string& path) {
  _path = path;
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  for (int i = 0;; ++i) {
    const std::string name =
        folder + ".kestrix-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp";
    _fd = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (_fd >= 0) {
      _temporary = name;
      return true;
    }
    if (errno != EEXIST) return _failErrno();
  }
}

bool FbxOutputFile::_createInMemory() {
  _fd = memfd_create("kestrix", MFD_CLOEXEC);
  return _fd >= 0 || _failErrno();
}

void FbxOutputFile::_writeSlowly(std::span<const char> bytes) {
  if (!_ok) return;
  if (bytes.size() > _max_size - position()) {
    _fail("an FBX file cannot be larger than 4 GiB");
    return;
  }
  if (!_flush()) return;
  if (bytes.size() <= _room) {
    write(bytes.data(), bytes.size());
  } else if (_writeAll(_fd, bytes)) {
    _flushed += bytes.size();
    _room = std::min<std::uint64_t>(kBufferSize, _max_size - _flushed);
  }
}

void FbxOutputFile::writeZeros(std::size_t count) {
  static constexpr std::array<char, 128> kZeros = {};
  for (; count > kZeros.size(); count -= kZeros.size()) write(kZeros.data(), kZeros.size());
  write(kZeros.data(), count);
}

void FbxOutputFile::patch(std::uint64_t position, std::span<const std::uint8_t> bytes) {
  if (!_ok) return;
  BtAssert(position + bytes.size() <= this->position());
  if (position >= _flushed) {
    std::memcpy(_buffer.get() + (position - _flushed), bytes.data(), bytes.size());
    return;
  }
  if (position + bytes.size() > _flushed && !_flush()) return;
  ssize_t count = 0;
  do {
    count = pwrite(_fd, bytes.data(), bytes.size(), static_cast<off_t>(position));
  } while (count < 0 && errno == EINTR);
  if (count == static_cast<ssize_t>(bytes.size())) return;
  if (count >= 0) errno = EIO;
  _failErrno();
}

bool FbxOutputFile::commit() {
  if (!_ok || !_flush()) return false;
  const bool done = _temporary.empty() ? _copyToTarget() : _replaceTarget();
  _close();
  return done;
}

bool FbxOutputFile::_flush() {
  if (!_writeAll(_fd, {_buffer.get(), _used})) return false;
  _flushed += _used;
  _used = 0;
  _room = std::min<std::uint64_t>(kBufferSize, _max_size - _flushed);
  return true;
}

bool FbxOutputFile::_writeAll(int fd, std::span<const char> bytes) {
  while (!bytes.empty()) {
    if (_unasked >= kBytesPerQuestion) {
      _unasked = 0;
      if (theExceptObj.checkCancel()) {
        abandon();
        return false;
      }
    }
    const std::size_t step = std::min<std::size_t>(bytes.size(), kBytesPerQuestion);
    const ssize_t count = ::write(fd, bytes.data(), step);
    if (count < 0) {
      if (errno != EINTR) return _failErrno();
      _unasked = kBytesPerQuestion;  // the signal may have been the user's wish to stop
      continue;
    }
    _unasked += static_cast<std::uint64_t>(count);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

bool FbxOutputFile::_replaceTarget() {
  // Only the superuser may give files away, and some file systems have no permissions: then the
  // file stays its writer's own.
  [[maybe_unused]] const int given = _older ? fchown(_fd, _older->owner, _older->group) : 0;
  [[maybe_unused]] const int opened = fchmod(_fd, _older ? _older->mode : NewFileMode());
  const int closed = close(_fd);
  _fd = -1;
  if (closed != 0) return _failErrno();
  if (rename(_temporary.c_str(), _path.c_str()) != 0) return _failErrno();
  _temporary.clear();
  return true;
}

bool FbxOutputFile::_copyToTarget() {
  int target = -1;
  // Opening a pipe waits for its reader.
  while ((target = ::open(_target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_TRUNC)) < 0) {
    if (errno != EINTR) return _failErrno();
    if (theExceptObj.checkCancel()) {
      abandon();
      return false;
    }
  }
  bool copied = true;
  for (std::uint64_t done = 0; copied && done < _flushed;) {
    const ssize_t count = pread(_fd, _buffer.get(), kBufferSize, static_cast<off_t>(done));
    if (count <= 0) {
      copied = _failErrno();
    } else {
      copied = _writeAll(target, {_buffer.get(), static_cast<std::size_t>(count)});
      done += static_cast<std::uint64_t>(count);
    }
  }
  if (close(target) != 0 && copied) copied = _failErrno();
  return copied;
}

void FbxOutputFile::_close() {
  if (_fd >= 0) close(_fd);
  _fd = -1;
  if (!_temporary.empty()) unlink(_temporary.c_str());
  _temporary.clear();
}

bool FbxOutputFile::_fail(const char* reason) {
  if (_ok) theExceptObj.set("Unable to write '%s': %s.", _target.c_str(), reason);
  abandon();
  return false;
}

void FbxOutputFile::abandon() {
  _ok = false;
  _room = 0;
}

bool FbxOutputFile::_failErrno() { return _fail(std::strerror(errno)); }
