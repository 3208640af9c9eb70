// The printed form of errors and warnings: what is recorded, and what tests expect.
#pragma once

#include <string>

#include "Bt/btexcept.h"

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

// The printed form of lines that begin with "ERROR: " or "WARNING: "; nothing for none.
inline std::string PrintedLines(const std::string& lines) {
  const std::size_t prefix = lines.find(": ") + 2;
  return lines.empty() ? "" : PrintedRecord(lines.substr(0, prefix), lines.substr(prefix));
}
