#include "info/runtool.h"

#include <iostream>
#include <sstream>

#include "arguments.h"
#include "btexcept.h"

ToolResult RunTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"kestrix-info"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size());
  for (std::string& word : words) argv.push_back(word.data());
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
