// Reads a compressed file: an external program, chosen by the file's extension ("Z", "gz", "jpeg"),
// unpacks it into a named pipe from which the stream reads.
#pragma once

#include <istream>
#include <memory>

#include "btstr.h"

class Bt_ShellJob;

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
