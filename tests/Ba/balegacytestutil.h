// Small things that the tests of the legacy model share.
#pragma once

#include <sstream>
#include <string>

#include "bamodel.h"
#include "support/legacyerrors.h"
#include "support/printed.h"

// Reads a text and answers the printed form of what was recorded.
inline std::string ScanInto(BaModel* model, const std::string& text) {
  std::istringstream is(text);
  model->scanFrom(is, ".");
  return TakePrinted();
}

inline std::string PrintedScan(const std::string& text) {
  BaModel model;
  return ScanInto(&model, text);
}

// The model as legacy text.
inline std::string Printed(const BaModel& model) {
  std::ostringstream os;
  model.printOn(os);
  return os.str();
}
