// Compressed files, read and written by external programs that the file's extension chooses ("Z",
// "gz", "jpeg"): a named pipe lies between the program and the stream.
#pragma once

#include <istream>
#include <memory>
#include <ostream>

#include "Bt/btstr.h"

class BtReplacement;
class Bt_ShellJob;

// Reads a compressed file.
class BtCompIFStream : public std::istream {
 public:
  // Opens the file and starts the program. An error is recorded, and failbit set, on failure.
  explicit BtCompIFStream(const char* name);
  // Ends a program that still runs; what it did is not asked.
  ~BtCompIFStream() override;
  BtCompIFStream(const BtCompIFStream&) = delete;
  BtCompIFStream& operator=(const BtCompIFStream&) = delete;

  [[nodiscard]] bool isOpen() const { return _buf != nullptr; }

  // Closes the stream. False, with an error recorded, when the text was not all of the file: the
  // program failed or the user has asked to stop. What has not been read yet is unpacked and
  // dropped for that, unless an error is recorded already. Reading never records anything: at a
  // text that ends for such a reason badbit is set. ("Z" files have no checksum; that one was cut
  // off cannot always be seen.)
  bool close();

 private:
  class Buf;

  bool _createNamedPipe();
  bool _spawnUncompress(const char* name, const char* ext);
  void _removeNamedPipe();

  BtStr _named_pipe;  // null when there is none
  std::unique_ptr<Bt_ShellJob> _job;
  std::unique_ptr<Buf> _buf;  // uses the job
};

// Writes a compressed file, which takes an older one's place only when it is whole.
class BtCompOFStream : public std::ostream {
 public:
  // Creates the file and starts the program. An error is recorded, and failbit set, on failure.
  explicit BtCompOFStream(const char* name);
  // Closes the stream; call close() to know how that went.
  ~BtCompOFStream() override;
  BtCompOFStream(const BtCompOFStream&) = delete;
  BtCompOFStream& operator=(const BtCompOFStream&) = delete;

  [[nodiscard]] bool isOpen() const { return _buf != nullptr; }

  // Writes what is held back and waits until the program has done its work. False, with an error
  // recorded, when the file does not hold all that was written. A stream that has failed, or was
  // given badbit to give up, leaves an older file as it was.
  bool close();

 private:
  class Buf;

  bool _createNamedPipe();
  bool _spawnCompress(const char* name, const char* ext);
  void _removeNamedPipe();

  BtStr _named_pipe;  // null when there is none
  std::unique_ptr<Bt_ShellJob> _job;
  std::unique_ptr<Buf> _buf;  // uses the job
  std::unique_ptr<BtReplacement> _replacement;
};
