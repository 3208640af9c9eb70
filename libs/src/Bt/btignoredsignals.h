// BtIgnoredSignals: while one lives, writing into a closed pipe or beyond the file size limit is
// an error of the call and not the end of the process.
#pragma once

#include <csignal>

class BtIgnoredSignals {
 public:
  BtIgnoredSignals() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &_pipe);
    sigaction(SIGXFSZ, &ignore, &_file_size);
  }
  ~BtIgnoredSignals() {
    sigaction(SIGPIPE, &_pipe, nullptr);
    sigaction(SIGXFSZ, &_file_size, nullptr);
  }
  BtIgnoredSignals(const BtIgnoredSignals&) = delete;
  BtIgnoredSignals& operator=(const BtIgnoredSignals&) = delete;

 private:
  struct sigaction _pipe {};
  struct sigaction _file_size {};
};
