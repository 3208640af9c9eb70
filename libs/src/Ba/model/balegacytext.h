// What the elements of the legacy form share: reading lines, writing numbers.
#pragma once

#include <iosfwd>
#include <span>

#include "Bt/btexcept.h"
#include "Bt/btscan.h"
#include "Bt/btstr.h"

// The lengths of the lines that old readers held in fixed buffers.
inline constexpr int kBaLineLimit = 80;

// Skips the rest of the line with its end, or `limit` characters, whichever is less.
void Ba_SkipLine(BtScanner& in, int limit);
void Ba_SkipLine(BtScanner& in);
// Reads the rest of the line and trims it at both ends. False, without a record, at the end of
// input and for a line that holds a NUL character: the names that lines hold end there.
bool Ba_ScanLine(BtScanner& in, BtStr* line);
// Reads 0 or 1; false, without a record, for anything else.
bool Ba_ScanSwitch(BtScanner& in, bool* on);

// Each number is written after a blank. Floats take the shortest text that reads back as the same
// number. Neither depends on the stream's flags or locale.
void Ba_PutInt(std::ostream& os, int value);
void Ba_PutFloats(std::ostream& os, std::span<const float> values);
