#include "fuzzing.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>

#include "Ba/babodymap.h"
#include "Bt/btexcept.h"
#include "bamodelheader.h"
#include "btviewstream.h"

const char* const kFuzzFolder = KESTRIX_FUZZ_FOLDER;

namespace {

// A reader that says no has said why, and one that says yes has nothing to say but warnings.
bool Answer(bool read) {
  BtAssert(read != BtError());
  return read;
}

// Whether an input may name this file: one that stands in the folder and starts no program.
bool IsTame(const BtStr& file_name) {
  const std::string_view name = file_name.view();
  return name.find('/') == std::string_view::npos && !name.ends_with("gz") && !name.ends_with("Z");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::cerr.rdbuf(nullptr);
  FuzzOne({reinterpret_cast<const char*>(data), size});
  const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
  return 0;
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
    if (!IsTame(include->fileName())) return false;
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
    if (!IsTame(include.file_name)) return false;
  }
  BtViewStream is(text);
  return Answer(mapping->scanFrom(is, true, kFuzzFolder));
}

bool HasEachTransformFrom(int first_id, const BaUnlockedMapping& mapping) {
  for (const BaUnlockedBodyMap* body_map : mapping.bodyMaps()) {
    int count[kBaTransformCount + 1] = {};
    for (int i = 0; i < kBaTransformCount; ++i) ++count[body_map->transformId(i)];
    if (std::any_of(count + first_id, std::end(count), [](int n) { return n != 1; })) return false;
  }
  return true;
}
