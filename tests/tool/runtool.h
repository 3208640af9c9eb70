// Runs kestrix-tool within the test program.
#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Bt/btexcept.h"
#include "arguments.h"

struct ToolResult {
  int status;
  std::string out;
  std::string err;
};

inline ToolResult RunTool(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "kestrix-tool");
  std::vector<char*> argv;
  argv.reserve(arguments.size());
  for (std::string& word : arguments) argv.push_back(word.data());
  const std::ostringstream out;
  const std::ostringstream err;
  std::streambuf* const old_out = std::cout.rdbuf(out.rdbuf());
  std::streambuf* const old_err = std::cerr.rdbuf(err.rdbuf());
  const int status = RunCommandLine(static_cast<int>(argv.size()), argv.data());
  std::cout.rdbuf(old_out);
  std::cerr.rdbuf(old_err);
  if (theExceptObj.hasException()) return {-1, out.str(), "a message was left behind"};
  return {status, out.str(), err.str()};
}
