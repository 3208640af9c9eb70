// Models in files and streams: the choice between the two forms of text in reading, and writing,
// always as documents.

#include <istream>

#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "bamodelheader.h"
#include "btreading.h"
#include "bttextfile.h"

namespace {

constexpr float kFirstDocumentVersion = 2.0F;

}  // namespace

void BaModel::read(const char* file_name) {
  BtAssert(file_name != nullptr, "file_name");
  const BtFileReading reading(file_name);
  BtInputFile file(file_name);
  if (!file.isOpen()) {
    theExceptObj.set("Unable to open '%s'.", file_name);
    return;
  }
  _scanFrom(file.stream(), BtFileDirectory(file_name), file_name);
  if (_source_files.empty()) _source_files.emplace_back(file_name);
  if (!file.close()) _clear();
  if (BtError()) theExceptObj.set("Unable to read '%s'.", file_name);
}

void BaModel::scanFrom(std::istream& is, const BtStr& directory) {
  _scanFrom(is, directory, nullptr);
}

void BaModel::_scanFrom(std::istream& is, const BtStr& directory, const char* file_name) {
  _clear();
  _source_files.clear();
  float version = 0;
  if (!BaScanModelHeader(is, &version)) {
    theExceptObj.set("File is not a valid %s.", kBaModelFileId);
    return;
  }
  _version = version;
  if (version >= kFirstDocumentVersion) {
    _scanDocumentFrom(is, directory, file_name);
  } else {
    rawScanFrom(is);
  }
  if (BtError()) _clear();
}

void BaModel::_scanDocumentFrom(std::istream& is, const BtStr& directory, const char* file_name) {
  BaModelData data;
  if (data.scan(is, directory, true, file_name)) data.moveTo(this);
  _source_files = data.sourceFiles();
}

void BaModel::save(const char* file_name) const {
  BtAssert(!BtError(), "!BtError()");
  BtAssert(file_name != nullptr, "file_name");
  BaModelData data;
  if (!data.fillFrom(*this, true)) {
    theExceptObj.set("Unable to convert to zov format v2.0.");
    return;
  }
  if (!data.save(file_name)) return;
  const int n_lights = _lights.count() + _lighting_models.count();
  if (n_lights + _muscles.count() == 0) return;
  BtWarn(BtCode("left-out"),
         "Lights and lighting models (%d) and muscles (%d) have no form in a model document.  They "
         "are left out.",
         n_lights, _muscles.count());
}
