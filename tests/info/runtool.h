// Runs kestrix-info within the test program.
#pragma once

#include <string>
#include <vector>

struct ToolResult {
  int status;
  std::string out;
  std::string err;
};

ToolResult RunTool(const std::vector<std::string>& arguments);
