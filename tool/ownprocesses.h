// Commands beside each other, for many files, each in a process of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct OwnRun {
  int status = 0;  // as a command answers it
  int signal = 0;  // that ended it, 0 for none
  std::string out;
  std::string err;
};

// Calls each of `runs` in a process that is a copy of this one, `at_once` of them at a time, and
// calls `ended` in their order, as soon as that and all before it have ended. `progressed` is told
// how many have ended whenever one has. Whatever ends this process ends them. Nothing but the
// kernel is needed: no program file, no /proc.
void RunOwnProcesses(const std::vector<std::function<int()>>& runs, int at_once,
                     const std::function<void(std::size_t count)>& progressed,
                     const std::function<void(std::size_t index, const OwnRun& run)>& ended);
