// Small things that the tests of the legacy model share.
#pragma once

#include <sstream>
#include <string>

#include "bamodel.h"
#include "btexcept.h"

// A header, body 1 and material 1.
inline const std::string kBasicModel =
    "Zov Graphic Model File\nv1.30\n"
    "X\n body\n 1\n ReferenceSystemZero\n 0\n 1 0 0\n 0 1 0\n 0 0 1\n 0 0 0\n"
    "M 1 skin\n 0\n";

// The printed form of what is recorded, which is cleared; empty for nothing.
inline std::string TakePrinted() {
  if (!theExceptObj.hasException()) return "";
  BtStr printed;
  BtGetExceptionStr(&printed, theExceptObj.exception());
  theExceptObj.clear();
  return std::string(printed.view());
}

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

// The printed form of a record whose lines, as wrapped, stand between '|' characters.
inline std::string PrintedRecord(const std::string& prefix, const std::string& lines) {
  std::string printed = "\n\n" + prefix;
  for (const char c : lines) {
    printed += c == '|' ? "\n" + std::string(prefix.size(), ' ') : std::string(1, c);
  }
  return printed + "\n\n";
}

inline std::string PrintedError(const std::string& lines) {
  return PrintedRecord("ERROR: ", lines);
}

inline std::string PrintedWarning(const std::string& lines) {
  return PrintedRecord("WARNING: ", lines);
}

// The model as legacy text.
inline std::string Printed(const BaModel& model) {
  std::ostringstream os;
  model.printOn(os);
  return os.str();
}
