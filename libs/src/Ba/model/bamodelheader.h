// The two header lines that every model file begins with.
#pragma once

#include <iosfwd>

// The first line of a model file.
inline constexpr const char kBaModelFileId[] = "Zov Graphic Model File";

// Reads the identification line and the version number, whatever it is; false after a recorded
// error.
bool BaScanModelHeaderNumber(std::istream& is, double* number);
// Reads the header of a file of version 1.0 to 2.0; false after a recorded error. The version goes
// to `version` unless that is null.
bool BaScanModelHeader(std::istream& is, float* version);
