// FbxIgnoredSignals: while one lives, writing into a closed pipe or beyond the file size limit is
// an error of the call and not the end of the process.
#pragma once

#include <csignal>

class FbxIgnoredSignals {
 public:
  FbxIgnoredSignals();
  ~FbxIgnoredSignals();
  FbxIgnoredSignals(const FbxIgnoredSignals&) = delete;
  FbxIgnoredSignals& operator=(const FbxIgnoredSignals&) = delete;

 private:
  struct sigaction _pipe {};
  struct sigaction _file_size {};
};
