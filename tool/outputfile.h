// Files that the tool writes: whole or not at all.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

class SourceFiles;

// Writes what `print` prints to a file, compressed if its name says so. An older file is replaced
// when everything has been written. A failure leaves it as it was, is recorded, and answers false;
// to write a file that was read is one.
bool WriteWholeFile(const std::string& file, const SourceFiles& sources,
                    const std::function<void(std::ostream&)>& print);
