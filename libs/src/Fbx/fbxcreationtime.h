// FbxCreationTime: the instant that a file states as its birth, and the two codes that readers
// derive from its text. A reader that finds other codes takes the file for empty.
#pragma once

#include <array>
#include <cstdint>
#include <string>

using FbxCode = std::array<std::uint8_t, 16>;

struct FbxCreationTime {
  // The instant of files that nothing else is asked for, so that equal scenes make equal files.
  int year = 1970;
  int month = 1;
  int day = 1;
  int hour = 10;
  int minute = 0;
  int second = 0;
  int millisecond = 0;

  // The instant of the environment variable SOURCE_DATE_EPOCH (seconds since 1970, read as UTC);
  // the fixed one where that is not set, no plain number or beyond the year 9999.
  [[nodiscard]] static FbxCreationTime Current();

  [[nodiscard]] std::string text() const;  // "YYYY-MM-DD hh:mm:ss:mmm"
  [[nodiscard]] FbxCode fileId() const;
  [[nodiscard]] FbxCode footerCode() const;
};
