// Runs the program as a user would, and gives tests a folder of their own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

struct RunResult {
  int status = -1;  // exit status; 128 + signal number where a signal ended the program
  std::string out;
  std::string err;
};

// A fresh folder that is removed with the object.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  // The path of a file in the folder, and a new file with this text.
  [[nodiscard]] std::string path(const std::string& name) const;
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const;
  [[nodiscard]] bool has(const std::string& name) const;
  // Names of all files in the folder, sorted.
  [[nodiscard]] std::vector<std::string> names() const;

 private:
  std::filesystem::path _folder;
};

// The program under test, started with these arguments, in `directory` when one is given.
class StartedKestrix {
 public:
  explicit StartedKestrix(const std::vector<std::string>& arguments,
                          const std::filesystem::path& directory = {});
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

std::string ReadFile(const std::filesystem::path& path);
std::string Sample(const std::string& name);  // path of a bundled sample
