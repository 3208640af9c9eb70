// Files, and what is printed about each: the tables of tests/data/messages.
#pragma once

#include <string>
#include <vector>

// What a reader must refuse or warn of, and with which records.
struct ErrorCase {
  std::string text;
  std::string lines;  // outermost record first, wrapped as printed, '|' between lines
};

// The cases of a table, which has rows.
std::vector<ErrorCase> ReadErrorCases(const std::string& name);
