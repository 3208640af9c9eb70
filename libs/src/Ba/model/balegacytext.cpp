#include "balegacytext.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <ostream>

#include "Bt/btexcept.h"
#include "btfloattext.h"

namespace {

// Enough for a blank and any number in its shortest form.
constexpr std::size_t kNumberSize = 24;

}  // namespace

void Ba_SkipLine(BtScanner& in, int limit) { in.stream().ignore(limit, '\n'); }

void Ba_SkipLine(BtScanner& in) {
  in.stream().ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

bool Ba_ScanLine(BtScanner& in, BtStr* line) {
  line->scanLine(in.stream());
  if (line->isNull() || line->view().find('\0') != std::string_view::npos) return false;
  line->trimRight().trimLeft();
  return true;
}

bool Ba_ScanSwitch(BtScanner& in, bool* on) {
  int value = 0;
  if (!in.readInt(&value) || (value != 0 && value != 1)) return false;
  *on = value == 1;
  return true;
}

void Ba_PutInt(std::ostream& os, int value) {
  char text[kNumberSize] = {' '};
  os.write(text, std::to_chars(text + 1, text + sizeof text, value).ptr - text);
}

void Ba_PutFloats(std::ostream& os, std::span<const float> values) {
  for (const float value : values) {
    char text[kNumberSize] = {' '};
    os.write(text, BtFloatToChars(text + 1, text + sizeof text, value).ptr - text);
  }
}
