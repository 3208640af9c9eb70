// A sub-model that a model document includes: its file and how its bodies are told apart.
#pragma once

#include <iosfwd>

#include "Bt/btstr.h"

class BaMDSource;

class BaMDInclude {
 public:
  // As written: relative to the folder of the including file, or absolute. Null until set.
  [[nodiscard]] const BtStr& fileName() const { return _file_name; }
  void setFileName(const BtStr& name) { _file_name = name; }
  // Added to every body id of the sub-model.
  [[nodiscard]] int bodyIdOffset() const { return _body_id_offset; }
  void setBodyIdOffset(int offset) { _body_id_offset = offset; }
  // Appended to every body name of the sub-model.
  [[nodiscard]] const BtStr& bodyNameSuffix() const { return _body_name_suffix; }
  void setBodyNameSuffix(const BtStr& suffix) { _body_name_suffix = suffix; }

  // Reads the text of an INCLUDE block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the section; asserts that the file name is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaMDSource;

  bool _scanFrom(BaMDSource& source);

  BtStr _file_name;
  int _body_id_offset = 0;
  BtStr _body_name_suffix = "";
};
