// What a file is that cannot be read as what was expected: told in words that say what to do.
#pragma once

#include <string>

#include "inputs.h"

// What the first bytes of a text tell of it that a reader of `expected` (a model or a mapping) does
// not: an encoding, another kind of file. Empty for nothing, with the code of the finding
// otherwise.
struct Sniffed {
  const char* code = nullptr;
  std::string text = {};
};
Sniffed Sniff(std::string_view start, FileKind expected);
