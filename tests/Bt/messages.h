// What a test finds recorded.
#pragma once

#include <string>

#include "Bt/btexcept.h"

// The recorded messages, outermost first, a line for each; clears them.
inline std::string TakeMessages() {
  std::string lines;
  const BtExcept* record = theExceptObj.hasException() ? &theExceptObj.exception() : nullptr;
  for (; record != nullptr; record = record->hasDetail() ? &record->detail() : nullptr) {
    lines.append(lines.empty() ? "" : "\n").append(record->message().view());
  }
  theExceptObj.clear();
  return lines;
}
