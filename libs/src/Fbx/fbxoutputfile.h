// FbxOutputFile: the file that a scene is saved to. It is written beside its target, without a name
// where the file system can do that, and put in the target's place when it is complete, so that a
// failure leaves an older file as it was and nothing else. Targets that are no regular files
// (pipes, devices) get the bytes when all of them are known.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "btignoredsignals.h"
#include "btreplacement.h"

class FbxOutputFile {
 public:
  // Offsets in a binary file are 32-bit numbers; a longer file is refused.
  static constexpr std::uint64_t kMaxSize = 0xFFFFFFFFU;
  static constexpr std::uint64_t kNoLimit = std::uint64_t{1} << 62;

  explicit FbxOutputFile(std::uint64_t max_size = kMaxSize) : _max_size(max_size) {}
  // Removes what was not committed.
  ~FbxOutputFile();
  FbxOutputFile(const FbxOutputFile&) = delete;
  FbxOutputFile& operator=(const FbxOutputFile&) = delete;

  // The first failure of any of these is recorded ("Unable to write '%s': %s."); after it, and
  // after abandon(), nothing more is done. A cancel is noticed while bytes are written.
  bool open(const std::string& target);
  // Bytes that no file is to take go to `bytes`, which is empty unless commit() completes them.
  bool openMemory(std::string* bytes);
  // The true path of the folder that the file is to lie in; empty for what is no file in a folder.
  [[nodiscard]] std::string folder() const;
  // Says that at least so many bytes will come, so that too many are refused before they are made.
  bool expect(std::uint64_t size);
  void write(const void* data, std::size_t size) {
    if (size > _room) {
      _writeSlowly({static_cast<const char*>(data), size});
      return;
    }
    std::copy_n(static_cast<const char*>(data), size, _buffer.get() + _used);
    _used += size;
    _room -= size;
  }
  void writeZeros(std::size_t count);
  // Replaces bytes that were written before.
  void patch(std::uint64_t position, std::span<const std::uint8_t> bytes);
  // Bytes written so far: where the next one goes.
  [[nodiscard]] std::uint64_t position() const { return _flushed + _used; }
  // Completes the file and puts it in its place.
  bool commit();

  // Gives up, for a reason that the caller has recorded.
  void abandon();
  [[nodiscard]] bool ok() const { return _ok; }

 private:
  void _writeSlowly(std::span<const char> bytes);
  bool _fail(const char* reason);
  bool _failSize();
  bool _failErrno();
  void _makeBuffer();
  bool _createInMemory();
  bool _flush();
  void _sendToDisk();
  bool _append(std::span<const char> bytes);
  bool _writeAll(int fd, std::span<const char> bytes);
  bool _canceled();
  bool _copyToTarget();
  void _close();

  std::uint64_t _max_size;
  std::string _target;  // as given
  BtReplacement _replacement;
  int _fd = -1;                    // the replacement's, or of a file in memory
  bool _in_memory = false;         // for targets that are no regular files
  std::string* _memory = nullptr;  // takes the bytes instead of the file
  bool _ok = true;
  std::unique_ptr<char[]> _buffer;
  std::size_t _used = 0;       // bytes in the buffer
  std::size_t _room = 0;       // bytes that it still takes; 0 once writing has failed
  std::uint64_t _flushed = 0;  // bytes that left it
  std::uint64_t _sent = 0;     // of these, bytes that are on their way to the disk
  std::uint64_t _unasked = 0;  // bytes since the last question for a cancel
  BtIgnoredSignals _signals;
};
