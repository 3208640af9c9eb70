// The printed form of errors and warnings: what is recorded, and what tests expect.
#pragma once

#include <string>

#include "btexcept.h"

// What a reader must refuse, and with which records.
struct ErrorCase {
  std::string text;
  std::string lines;  // outermost record first, wrapped as printed, '|' between lines
};

// The printed form of what is recorded, which is cleared; empty for nothing.
inline std::string TakePrinted() {
  if (!theExceptObj.hasException()) return "";
  BtStr printed;
  BtGetExceptionStr(&printed, theExceptObj.exception());
  theExceptObj.clear();
  return std::string(printed.view());
}

// Lines that stand between '|' characters, each but the first behind a line break and an indent.
inline std::string IndentedLines(std::size_t indent, const std::string& lines) {
  std::string indented;
  for (const char c : lines) {
    indented += c == '|' ? "\n" + std::string(indent, ' ') : std::string(1, c);
  }
  return indented;
}

// The printed form of records.
inline std::string PrintedRecord(const std::string& prefix, const std::string& lines) {
  return "\n\n" + prefix + IndentedLines(prefix.size(), lines) + "\n\n";
}

inline std::string PrintedError(const std::string& lines) {
  return PrintedRecord("ERROR: ", lines);
}

inline std::string PrintedWarning(const std::string& lines) {
  return PrintedRecord("WARNING: ", lines);
}
