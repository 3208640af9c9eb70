// Legacy model text: what is read holds together, and is read again from what it is written as.
#include <cstdint>
#include <sstream>
#include <string>

#include "btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzRun run;
  BaModel model;
  if (!FuzzReadModel({reinterpret_cast<const char*>(data), size}, &model)) return 0;
  BtAssert(model.checkInvariants(nullptr));
  if (model.version() >= 2) return 0;
  std::ostringstream written;
  model.printOn(written);
  BtViewStream is(written.view());
  BaModel again;
  again.scanFrom(is, kFuzzFolder);
  BtAssert(!BtError());
  BtAssert(again.polygons().size() == model.polygons().size());
  return 0;
}
