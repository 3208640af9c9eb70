// Legacy model text: what is read holds together, and is read again from what it is written as.
#include <sstream>

#include "Bt/btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

void FuzzOne(std::string_view input) {
  BaModel model;
  if (!FuzzReadModel(input, &model)) return;
  BtAssert(model.checkInvariants(nullptr));
  if (model.version() >= 2) return;
  std::ostringstream written;
  model.printOn(written);
  BtViewStream is(written.view());
  BaModel again;
  again.scanFrom(is, kFuzzFolder);
  BtAssert(!BtError());
  BtAssert(again.polygons().size() == model.polygons().size());
}
