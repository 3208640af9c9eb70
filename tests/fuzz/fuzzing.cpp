#include "fuzzing.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include "bamodelheader.h"
#include "btexcept.h"
#include "btviewstream.h"

const char* const kFuzzFolder = KESTRIX_FUZZ_FOLDER;

namespace {

// A reader that says no has said why, and one that says yes has nothing to say but warnings.
bool Answer(bool read) {
  BtAssert(read != BtError());
  return read;
}

}  // namespace

FuzzRun::FuzzRun() { std::cerr.rdbuf(nullptr); }

FuzzRun::~FuzzRun() { const std::unique_ptr<BtExcept> dropped(theExceptObj.release()); }

bool IsTameFileName(std::string_view name) {
  return name.find('/') == std::string_view::npos && !name.ends_with("gz") && !name.ends_with("Z");
}

bool FuzzReadDocument(std::string_view text, BaModelData* data) {
  {
    BtViewStream is(text);
    if (!Answer(BaModelData::scanHeader(is, nullptr)) ||
        !Answer(data->scan(is, kFuzzFolder, false))) {
      return false;
    }
  }
  if (data->includes().empty()) return true;
  for (const BaMDInclude* include : data->includes()) {
    if (!IsTameFileName(include->fileName().view())) return false;
  }
  BtViewStream is(text);
  data->clear();
  return BaModelData::scanHeader(is, nullptr) && Answer(data->scan(is, kFuzzFolder, true));
}

bool FuzzReadModel(std::string_view text, BaModel* model) {
  BtViewStream head(text);
  float version = 0;
  if (!Answer(BaScanModelHeader(head, &version))) return false;
  BaModelData data;
  if (version >= 2 && !FuzzReadDocument(text, &data)) return false;
  BtViewStream is(text);
  model->scanFrom(is, kFuzzFolder);
  if (!BtError()) return true;
  BtAssert(model->bodies().empty() && model->polygons().empty() && model->materials().empty());
  return false;
}

bool FuzzReadMapping(std::string_view text, BaUnlockedMapping* mapping) {
  {
    BtViewStream is(text);
    if (!Answer(mapping->scanFrom(is, false, kFuzzFolder))) return false;
  }
  if (mapping->includes().empty()) return true;
  for (const BaUnlockedMapping::Include& include : mapping->includes()) {
    if (!IsTameFileName(include.file_name.view())) return false;
  }
  BtViewStream is(text);
  return Answer(mapping->scanFrom(is, true, kFuzzFolder));
}
