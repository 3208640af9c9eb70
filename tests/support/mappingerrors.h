// Mapping files that must be refused.
#pragma once

#include <vector>

#include "support/errorcases.h"
#include "support/printed.h"

// Whole files, among them one for each bad record. What names the file is not in the lines.
inline std::vector<ErrorCase> MappingErrors() { return ReadErrorCases("mappings.txt"); }
