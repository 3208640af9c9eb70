// Runs work in processes of its own and tells what it cost.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct Cost {
  double cpu = 0;   // seconds, user and system
  double user = 0;  // of these the program's own
  double wall = 0;  // seconds from start to exit
  double peak = 0;  // bytes of memory that were resident at most
};

// The caller should be small: a child's peak begins with what its parent has in memory. Both end
// the program with a message when the work fails.
Cost RunProgram(const std::vector<std::string>& command);
// In a fork; fails when `work` answers false.
Cost RunFunction(const std::function<bool()>& work);

// Runs the jobs in turn, `rounds` times, so that what else the machine does strikes all alike.
// Answers the median of each.
std::vector<Cost> Medians(int rounds, const std::vector<std::function<Cost()>>& jobs);
