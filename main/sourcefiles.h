// The files that something was read from, so that none of them is taken for its output.
#pragma once

#include <span>
#include <vector>

#include "Bt/btfile.h"
#include "Bt/btstr.h"

class BaModelData;

// Files count by what they are, not by their names. What is not there does not count.
class SourceFiles {
 public:
  void add(const char* file);
  // Those of a model or a mapping, with everything that they include.
  void add(std::span<const BtStr> files);
  // The pictures of the materials, whose names start from `directory`.
  void addPictures(const BaModelData& model_data, const BtStr& directory);

  // False, with an error recorded, when `output` is one of them. Devices and the like may be read
  // and written.
  [[nodiscard]] bool checkOutput(const BtStr& output) const;

 private:
  std::vector<BtFileId> _files;
};
