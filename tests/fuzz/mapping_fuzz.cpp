// Mappings: what is read is read again from what it is written as, value by value.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>

#include "babodymap.h"
#include "btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

namespace {

// Each body map has each of its transforms once, as writing demands.
bool CanBeWritten(const BaUnlockedMapping& mapping) {
  return std::all_of(mapping.bodyMaps().begin(), mapping.bodyMaps().end(),
                     [](const BaUnlockedBodyMap* body_map) {
                       unsigned seen = 0;
                       for (int i = 0; i < 6; ++i) seen |= 1U << body_map->transformId(i);
                       return seen == 0b1111110;
                     });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzRun run;
  BaUnlockedMapping mapping;
  if (!FuzzReadMapping({reinterpret_cast<const char*>(data), size}, &mapping)) return 0;
  if (!CanBeWritten(mapping)) return 0;
  std::ostringstream written;
  mapping.printOn(written);
  BtViewStream is(written.view());
  BaUnlockedMapping again;
  BtAssert(again.scanFrom(is, false, kFuzzFolder));
  BtAssert(again == mapping);
  return 0;
}
