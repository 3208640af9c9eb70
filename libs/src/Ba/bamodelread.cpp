// Where models come in: files, streams, and the choice between the two forms of text.

#include <istream>

#include "bamodel.h"
#include "bamodeldata.h"
#include "bamodelheader.h"
#include "btexcept.h"
#include "btfile.h"
#include "btifstream.h"

namespace {

constexpr float kFirstDocumentVersion = 2.0F;

}  // namespace

void BaModel::read(const char* file_name) {
  BtIFStream is(file_name);
  if (!is.isOpen()) {
    theExceptObj.set("Unable to open '%s'.", file_name);
    return;
  }
  scanFrom(is, BtFileDirectory(file_name));
  if (BtError()) theExceptObj.set("Unable to read '%s'.", file_name);
}

void BaModel::scanFrom(std::istream& is, const BtStr& directory) {
  _clear();
  float version = 0;
  if (!BaScanModelHeader(is, &version)) {
    theExceptObj.set("File is not a valid %s.", kBaModelFileId);
    return;
  }
  _version = version;
  if (version >= kFirstDocumentVersion) {
    _scanDocumentFrom(is, directory);
  } else {
    rawScanFrom(is);
  }
  if (BtError()) _clear();
}

void BaModel::_scanDocumentFrom(std::istream& is, const BtStr& directory) {
  BaModelData data;
  if (data.scan(is, directory, true)) data.extractTo(this);
}
