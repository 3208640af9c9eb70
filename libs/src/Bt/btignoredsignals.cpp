#include "btignoredsignals.h"

BtIgnoredSignals::BtIgnoredSignals() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &_pipe);
  sigaction(SIGXFSZ, &ignore, &_file_size);
}

BtIgnoredSignals::~BtIgnoredSignals() {
  sigaction(SIGPIPE, &_pipe, nullptr);
  sigaction(SIGXFSZ, &_file_size, nullptr);
}
