// Keyword documents, blocks within blocks, and the readers that take values apart.
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "Bt/btexcept.h"
#include "Bt/btparse.h"
#include "btviewstream.h"
#include "fuzzing.h"

namespace {

// A token reader takes something away or leaves the text alone.
template <class Value>
void Read(const BtStr& text, bool (*read)(BtStr*, Value*)) {
  BtStr rest = text;
  Value value = {};
  BtAssert(read(&rest, &value) ? text.view().ends_with(rest.view()) : rest == text);
}

// Long texts teach the readers nothing.
void ReadTokens(const BtStr& text) {
  constexpr int kLong = 40;
  if (text.length() > kLong) return;
  Read<BtStr>(text, BtReadIdentifier);
  Read<int>(text, BtReadInt);
  Read<bool>(text, BtReadBool);
  Read<float>(text, BtReadFloat);
  Read<BtStr>(text, BtReadToken);
  Read<BtStr>(text, BtReadDoubleQuotedStr);
  Read<std::array<float, 3>>(text, BtReadVector3);
  Read<double>(text, BtReadTimecodeRate);
  BtStr rest = text;
  BtAssert(BtSkipChar(&rest, '{') ? text.view().ends_with(rest.view()) : rest == text);
}

}  // namespace

void FuzzOne(std::string_view input) {
  std::vector<std::string> waiting = {std::string(input)};
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
}
