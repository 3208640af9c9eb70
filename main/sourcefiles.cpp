#include "sourcefiles.h"

#include <algorithm>
#include <filesystem>

#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "bapicturefile.h"

void SourceFiles::add(const char* file) {
  BtFileId id = {};
  if (BtFileFindId(file, &id)) _files.push_back(id);
}

void SourceFiles::add(std::span<const BtStr> files) {
  for (const BtStr& file : files) add(file);
}

void SourceFiles::addPictures(const BaModelData& model_data, const BtStr& directory) {
  for (const BaMDMaterial* material : model_data.materials()) {
    for (const BaMDTexture* texture : material->textures()) {
      add(BaFindPicture(directory, texture->name()));
    }
  }
}

bool SourceFiles::checkOutput(const BtStr& output) const {
  std::error_code error;
  BtFileId id = {};
  if (!std::filesystem::is_regular_file(output.view(), error) || !BtFileFindId(output, &id) ||
      std::find(_files.begin(), _files.end(), id) == _files.end()) {
    return true;
  }
  theExceptObj.set("The output '" + output + "' is one of the files that were read.");
  return false;
}
