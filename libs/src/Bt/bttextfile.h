// Text files as models and mappings are read from and saved to: plain ones, and compressed ones by
// their extension ("gz", "Z").
#pragma once

#include <istream>
#include <memory>
#include <ostream>

#include "Bt/btifstream.h"
#include "Bt/btstr.h"
#include "btignoredsignals.h"
#include "btreplacement.h"

// The name that the text of a file has: the file's own without an extension of compression.
[[nodiscard]] BtStr BtTextFileName(const BtStr& file_name);

class BtInputFile {
 public:
  // Opens the file; isOpen() tells whether that went well. A reason may be recorded where it did
  // not. Of compressed files the kind is that of the file itself.
  explicit BtInputFile(const char* file_name, BtFileKind kind = BtFileKind::Any);

  [[nodiscard]] bool isOpen() const { return _is != nullptr; }
  // The text. The file must be open.
  [[nodiscard]] std::istream& stream() const { return *_is; }
  // Has the text counted as it is read, unpacked and up to the end of a compressed file. The file
  // must be open.
  void countWith(BtFileBuf::Counter counter) const;
  // Ends the reading, to be called when the text has been read, rightly or not. False, with an
  // error recorded, when the text was not all that the file holds: unreadable, corrupt, cut off.
  // Without this call that goes unnoticed.
  bool close();

 private:
  std::unique_ptr<std::istream> _is;
  bool (*_close)(std::istream& is) = nullptr;
};

// The text takes the place of an older file only when it is whole and was closed: until then it
// stands beside it, and where something fails the older file is as it was. Pipes and devices are
// written directly.
class BtOutputFile {
 public:
  // Creates the file; an error is recorded where that fails.
  explicit BtOutputFile(const BtStr& file_name);
  // Gives up what was not closed.
  ~BtOutputFile();
  BtOutputFile(const BtOutputFile&) = delete;
  BtOutputFile& operator=(const BtOutputFile&) = delete;

  [[nodiscard]] bool isOpen() const { return _os != nullptr; }
  // The file must be open.
  [[nodiscard]] std::ostream& stream() const { return *_os; }
  // Ends the writing. False when not all of it arrived in the file; then a reason may be recorded.
  bool close();

 private:
  void _openPlain(const BtStr& file_name);
  bool _closePlain(std::ostream& os);

  BtIgnoredSignals _signals;
  BtReplacement _replacement;  // of plain files
  bool _compressed = false;
  std::unique_ptr<std::ostream> _os;
};
