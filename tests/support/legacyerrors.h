// What the legacy model files of tests are made of.
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
