// Guards the reading of files that include other files: against circles, endless nesting and small
// files that multiply each other into something that no memory holds.
#pragma once

#include <vector>

#include "Bt/btfile.h"
#include "bttextfile.h"

// The files that are being read at the moment, each included by the one before it.
class Bt_IncludeChain {
 public:
  // `kind` begins the messages: "Mapping" for mapping files. It is kept by address.
  explicit Bt_IncludeChain(const char* kind) : _kind(kind) {}

  // Adds the file that is read next. False, with an error recorded and nothing added, when the file
  // is in the chain already or a limit is reached. A file that is not there is no error here.
  bool enter(const char* file_name);
  // Opens the file that was added last. One that is included must be a regular file, and its text
  // is counted as it is read.
  [[nodiscard]] BtInputFile open(const char* file_name);
  // Counts text of the file that was added last, or what is as much work. False, with an error
  // recorded, when all files that are included come to too much.
  bool count(long long bytes);
  // Removes the file that was added last.
  void leave() { _files.pop_back(); }
  // The names of all files that were ever added and are there.
  [[nodiscard]] const std::vector<BtStr>& allFiles() const { return _all_files; }

 private:
  static bool _checkSize(long long bytes);

  const char* _kind;
  std::vector<BtFileId> _files;
  std::vector<BtStr> _all_files;
  long long _included_bytes = 0;
};
