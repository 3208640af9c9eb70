// Mapping files that must be refused, and what is printed about each.
#pragma once

#include <vector>

#include "support/printed.h"

// Records of a single body.
std::vector<ErrorCase> BodyMapErrors();

// Whole files, among them one for each bad record. What names the file is not in the lines.
std::vector<ErrorCase> MappingErrors();
