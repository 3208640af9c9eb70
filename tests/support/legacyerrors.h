// Legacy model files that must be refused, and what they are made of.
#pragma once

#include <string>
#include <vector>

#include "support/errorcases.h"
#include "support/printed.h"

// A header, body 1 and material 1.
inline const std::string kBasicModel =
    "Zov Graphic Model File\nv1.30\n"
    "X\n body\n 1\n ReferenceSystemZero\n 0\n 1 0 0\n 0 1 0\n 0 0 1\n 0 0 0\n"
    "M 1 skin\n 0\n";

// A body record with the identity transform.
inline std::string LegacyBody(const std::string& name, int id, int parent) {
  return "X\n" + name + "\n" + std::to_string(id) + "\n\n" + std::to_string(parent) +
         "\n1 0 0 0 1 0 0 0 1 0 0 0\n";
}

// Whole files: bad headers, bad records of every kind, records that the file's version does not
// have, bodies that form no tree.
inline std::vector<ErrorCase> LegacyErrors() { return ReadErrorCases("legacy.txt"); }

// Files that promise more elements than anyone has, one for each kind of record with a count.
inline std::vector<std::string> LegacyHugeCounts() {
  const std::string head = kBasicModel;
  return {head + "F 1 1 2147483647 0 0 0 -1", head + "P 1 1 2147483647 0 0 0 0 0 -1",
          head + "f 1 1 2147483647 1 ", head + "T 1 1 2147483647 0 0 0 0 -1",
          head + "t 1 1 2147483647 0 0 0 0 0 0 -1"};
}
