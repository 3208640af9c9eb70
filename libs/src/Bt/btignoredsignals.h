// BtIgnoredSignals: while one lives, writing into a closed pipe or beyond the file size limit is
// an error of the call and not the end of the process.
#pragma once

#include <csignal>

class BtIgnoredSignals {
 public:
  BtIgnoredSignals();
  ~BtIgnoredSignals();
  BtIgnoredSignals(const BtIgnoredSignals&) = delete;
  BtIgnoredSignals& operator=(const BtIgnoredSignals&) = delete;

 private:
  struct sigaction _pipe {};
  struct sigaction _file_size {};
};
