// Legacy model files that must be refused, and what is printed about each.
#pragma once

#include <string>
#include <vector>

#include "support/printed.h"

// A header, body 1 and material 1.
inline const std::string kBasicModel =
    "Zov Graphic Model File\nv1.30\n"
    "X\n body\n 1\n ReferenceSystemZero\n 0\n 1 0 0\n 0 1 0\n 0 0 1\n 0 0 0\n"
    "M 1 skin\n 0\n";

// A body record with the identity transform.
std::string LegacyBody(const std::string& name, int id, int parent);

// Whole files: bad headers, bad records of every kind, records that the file's version does not
// have, bodies that form no tree.
std::vector<ErrorCase> LegacyErrors();

// Files that promise more elements than anyone has, one for each kind of record with a count.
std::vector<std::string> LegacyHugeCounts();
