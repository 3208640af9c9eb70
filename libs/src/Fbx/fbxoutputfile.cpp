#include "fbxoutputfile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::uint64_t kBytesPerQuestion = std::uint64_t{4} << 20;

}  // namespace

FbxOutputFile::~FbxOutputFile() { _close(); }

bool FbxOutputFile::openMemory(std::string* bytes) {
  bytes->clear();
  _memory = bytes;
  _makeBuffer();
  return true;
}

bool FbxOutputFile::open(const std::string& target) {
  _target = target;
  _makeBuffer();
  switch (_replacement.open(target)) {
    case BtReplacement::Place::Beside:
      _fd = _replacement.descriptor();
      return true;
    case BtReplacement::Place::Target:
      return _createInMemory();
    default:
      return _failErrno();
  }
}

void FbxOutputFile::_makeBuffer() {
  _buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
  _room = std::min<std::uint64_t>(kBufferSize, _max_size);
}

bool FbxOutputFile::_createInMemory() {
  _fd = memfd_create("kestrix", MFD_CLOEXEC);
  _in_memory = true;
  return _fd >= 0 || _failErrno();
}

std::string FbxOutputFile::folder() const {
  if (_in_memory || _memory != nullptr) return "";
  const std::filesystem::path folder = std::filesystem::path(_target).parent_path();
  std::error_code unknown;
  return std::filesystem::canonical(folder.empty() ? "." : folder, unknown).string();
}

bool FbxOutputFile::expect(std::uint64_t size) { return size <= _max_size || _failSize(); }

void FbxOutputFile::_writeSlowly(std::span<const char> bytes) {
  if (!_ok) return;
  if (bytes.size() > _max_size - position()) {
    _failSize();
    return;
  }
  if (!_flush()) return;
  if (bytes.size() <= _room) {
    write(bytes.data(), bytes.size());
  } else if (_append(bytes)) {
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
  if (_memory != nullptr) {
    std::memcpy(_memory->data() + position, bytes.data(), bytes.size());
    return;
  }
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
  if (theExceptObj.checkCancel()) {
    abandon();
    return false;
  }
  if (_memory != nullptr) {
    _memory = nullptr;
    return true;
  }
  const bool done = _in_memory ? _copyToTarget() : _replacement.commit() || _failErrno();
  _close();
  return done;
}

bool FbxOutputFile::_flush() {
  if (!_append({_buffer.get(), _used})) return false;
  _flushed += _used;
  if (_memory == nullptr && !_in_memory) _sendToDisk();
  _used = 0;
  _room = std::min<std::uint64_t>(kBufferSize, _max_size - _flushed);
  return true;
}

// A large file goes to the disk while it is written, so that little is left to wait for at the end,
// and what has arrived leaves the system's memory, whose next pages may be dear. This is advice:
// whether the bytes are on the disk is asked when the file is put in its place.
void FbxOutputFile::_sendToDisk() {
  constexpr std::uint64_t kStretch = std::uint64_t{32} << 20U;
  constexpr std::uint64_t kKept = 4 * kStretch;
  for (; _flushed - _sent >= kStretch; _sent += kStretch) {
    const auto begin = static_cast<off_t>(_sent);
    sync_file_range(_fd, begin, kStretch, SYNC_FILE_RANGE_WRITE);
    if (_sent < kKept) continue;
    posix_fadvise(_fd, begin - static_cast<off_t>(kKept), kStretch, POSIX_FADV_DONTNEED);
  }
}

bool FbxOutputFile::_append(std::span<const char> bytes) {
  if (_memory == nullptr) return _writeAll(_fd, bytes);
  if (_canceled()) return false;
  _memory->append(bytes.data(), bytes.size());
  _unasked += bytes.size();
  return true;
}

// Asks every now and then; true after the user's wish to stop.
bool FbxOutputFile::_canceled() {
  if (_unasked < kBytesPerQuestion) return false;
  _unasked = 0;
  if (!theExceptObj.checkCancel()) return false;
  abandon();
  return true;
}

bool FbxOutputFile::_writeAll(int fd, std::span<const char> bytes) {
  while (!bytes.empty()) {
    if (_canceled()) return false;
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
      if (count == 0) errno = EIO;
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
  if (_memory != nullptr) _memory->clear();
  _memory = nullptr;
  if (_fd >= 0 && _in_memory) close(_fd);
  _fd = -1;
  _in_memory = false;
  _replacement.discard();
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

bool FbxOutputFile::_failSize() { return _fail("an FBX file cannot be larger than 4 GiB"); }

bool FbxOutputFile::_failErrno() { return _fail(std::strerror(errno)); }
