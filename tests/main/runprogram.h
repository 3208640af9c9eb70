// Runs a program as a user would.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/testfolder.h"

struct RunResult {
  int status = -1;  // exit status; 128 + signal number where a signal ended the program
  std::string out;
  std::string err;
};

// The converter, or another program, started with these arguments, in `directory` when one is
// given.
class StartedKestrix {
 public:
  explicit StartedKestrix(std::vector<std::string> arguments,
                          const std::filesystem::path& directory = {},
                          const char* program = KESTRIX_PROGRAM);
  [[nodiscard]] pid_t pid() const { return _pid; }
  // Waits until the program has printed something on standard output, or has ended.
  void waitForOutput();
  // What Ctrl-C does.
  void interrupt() const;
  // Waits for its end; once.
  RunResult wait();

 private:
  bool _end(int options);

  TestFolder _streams;
  pid_t _pid = -1;
  int _wait_status = 0;
  bool _ended = false;
};

inline RunResult RunKestrix(const std::vector<std::string>& arguments,
                            const std::filesystem::path& directory = {}) {
  return StartedKestrix(arguments, directory).wait();
}

// Lists of words, one behind the other.
inline std::vector<std::string> Joined(std::initializer_list<std::vector<std::string>> lists) {
  std::vector<std::string> all;
  for (const auto& list : lists) all.insert(all.end(), list.begin(), list.end());
  return all;
}

// The path of a bundled sample.
inline std::string Sample(const std::string& name) {
  return (std::filesystem::path(KESTRIX_SAMPLES) / name).string();
}

// What stands in the place of an output before a run that must not touch it.
inline const std::string kOlder = "what an earlier run wrote";
