// Mappings: what is read is read again from what it is written as, value by value.
#include <sstream>

#include "Bt/btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

void FuzzOne(std::string_view input) {
  BaUnlockedMapping mapping;
  // Writing demands each transform once.
  if (!FuzzReadMapping(input, &mapping) || !HasEachTransformFrom(1, mapping)) return;
  std::ostringstream written;
  mapping.printOn(written);
  BtViewStream is(written.view());
  BaUnlockedMapping again;
  BtAssert(again.scanFrom(is, false, kFuzzFolder));
  BtAssert(again == mapping);
}
