// Files that the tool writes: whole or not at all.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

// Writes what `print` prints to a file, compressed if its name says so. An older file is replaced
// when everything has been written; a failure leaves it as it was, is recorded, and answers false.
bool WriteWholeFile(const std::string& file, const std::function<void(std::ostream&)>& print);
