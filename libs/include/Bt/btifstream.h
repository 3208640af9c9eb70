// Input files as the readers see them: large blocks, read errors told apart from the end of the
// file.
#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <streambuf>

// What may be opened: pipes and devices may keep their readers waiting, regular files do not.
enum class BtFileKind { Any, Regular };

// The stream buffer of a file descriptor. It reads in blocks rather than mapping the file: a file
// that shrinks while it is read then ends early instead of ending the process, pipes need no second
// way, and a block stays in the processor's cache while it is scanned.
class BtFileBuf : public std::streambuf {
 public:
  explicit BtFileBuf(std::ios& owner) : _owner(owner) {}
  ~BtFileBuf() override;
  BtFileBuf(const BtFileBuf&) = delete;
  BtFileBuf& operator=(const BtFileBuf&) = delete;

  // False, with errno set, when there is no such file or it is a directory. One that is not of the
  // wanted kind is recorded as an error.
  bool open(const char* file_name, BtFileKind kind = BtFileKind::Any);
  [[nodiscard]] bool isOpen() const { return _fd >= 0; }
  // Bytes that the file had when it was opened; 0 for what has no size, such as a pipe.
  [[nodiscard]] long long sizeHint() const { return _size_hint; }
  // Has the bytes of each block counted as it is read. Where the answer is false, which is recorded
  // as an error then, the block is dropped and reading ends with badbit.
  using Counter = std::function<bool(long long bytes)>;
  void countWith(Counter counter) { _counter = std::move(counter); }
  // Bytes that were consumed so far, of what was read or unpacked.
  [[nodiscard]] long long position() const { return _bytes_read - (egptr() - gptr()); }
  void close();

 protected:
  int_type underflow() override;
  // Reads up to `size` bytes: their number, 0 at the end of the file, -1 for a read error.
  virtual long long readBlock(char* to, std::size_t size);
  // Takes over an open file.
  void adopt(int fd);
  // True when the counter has ended the reading.
  [[nodiscard]] bool isStopped() const { return _stopped; }
  [[nodiscard]] int descriptor() const { return _fd; }

 private:
  std::ios& _owner;  // its badbit is set when reading fails
  bool _awaitInput() const;

  int _fd = -1;
  bool _may_wait = false;  // for input that is not there yet
  bool _ended = false;     // nothing is read after the first end, which a terminal may go beyond
  bool _stopped = false;
  Counter _counter;
  long long _size_hint = 0;
  long long _bytes_read = 0;
  std::unique_ptr<char[]> _block;
};

// An input stream over a BtFileBuf. A read error sets badbit, the end of the file eofbit.
class BtIFStream : public std::istream {
 public:
  explicit BtIFStream(const char* file_name, BtFileKind kind = BtFileKind::Any);
  [[nodiscard]] bool isOpen() const { return _file_buf.isOpen(); }
  [[nodiscard]] long long sizeHint() const { return _file_buf.sizeHint(); }

 private:
  BtFileBuf _file_buf;
};
