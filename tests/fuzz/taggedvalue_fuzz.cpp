// Keyword documents, blocks within blocks, and the readers that take values apart.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "btexcept.h"
#include "btparse.h"
#include "btviewstream.h"
#include "fuzzing.h"

namespace {

// Each token reader takes something away or leaves the text alone. Long texts teach it nothing.
void ReadTokens(const BtStr& value) {
  constexpr int kLong = 40;
  if (value.length() > kLong) return;
  const auto keeps_word = [&value](auto read) {
    BtStr rest = value;
    if (read(&rest)) {
      BtAssert(value.view().ends_with(rest.view()));
    } else {
      BtAssert(rest == value);
    }
  };
  BtStr text;
  int integer = 0;
  bool truth = false;
  float number = 0;
  double rate = 0;
  std::array<float, 3> vector = {};
  keeps_word([&](BtStr* rest) { return BtReadIdentifier(rest, &text); });
  keeps_word([&](BtStr* rest) { return BtReadInt(rest, &integer); });
  keeps_word([&](BtStr* rest) { return BtReadBool(rest, &truth); });
  keeps_word([&](BtStr* rest) { return BtReadFloat(rest, &number); });
  keeps_word([&](BtStr* rest) { return BtReadToken(rest, &text); });
  keeps_word([&](BtStr* rest) { return BtReadDoubleQuotedStr(rest, &text); });
  keeps_word([&](BtStr* rest) { return BtReadVector3(rest, &vector); });
  keeps_word([&](BtStr* rest) { return BtReadTimecodeRate(rest, &rate); });
  keeps_word([&](BtStr* rest) { return BtSkipChar(rest, '{'); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzRun run;
  std::vector<std::string> waiting = {{reinterpret_cast<const char*>(data), size}};
  while (!waiting.empty()) {
    const std::string block = std::move(waiting.back());
    waiting.pop_back();
    BtViewStream is(block);
    BtStr keyword;
    BtStr value;
    bool single_line = false;
    std::size_t rest = block.size() + 1;
    while (BtReadTaggedValue(is, &keyword, &value, &single_line) && !keyword.isNull()) {
      // Every item takes something from the input.
      BtAssert(is.rest().size() < rest);
      rest = is.rest().size();
      BtAssert(!BtError() && !value.isNull());
      BtAssert(value.length() <= static_cast<int>(block.size()) + 1);
      if (single_line) {
        ReadTokens(value);
        const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
      } else {
        waiting.emplace_back(value.view());
      }
    }
    const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
  }
  return 0;
}
