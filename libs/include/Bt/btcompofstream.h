// Writes a compressed file: an external program, chosen by the file's extension ("Z", "gz",
// "jpeg"), packs what the stream writes into a named pipe. The file takes an older one's place only
// when it is whole.
#pragma once

#include <memory>
#include <ostream>

#include "btreplacement.h"
#include "btstr.h"

class Bt_ShellJob;

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
  BtReplacement _replacement;
};
