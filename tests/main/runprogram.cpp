#include "runprogram.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

std::string Quoted(const std::string& argument) {
  std::string quoted = "'";
  for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

RunResult RunKestrix(const std::vector<std::string>& arguments,
                     const std::filesystem::path& directory) {
  const TestFolder streams;
  std::string command;
  if (!directory.empty()) command = "cd " + Quoted(directory) + " && ";
  command += Quoted(KESTRIX_PROGRAM);
  for (const std::string& argument : arguments) command += " " + Quoted(argument);
  command += " >" + Quoted(streams.path("out")) + " 2>" + Quoted(streams.path("err"));
  const int status = std::system(command.c_str());  // NOLINT(cert-env33-c)
  RunResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = ReadFile(streams.path("out"));
  result.err = ReadFile(streams.path("err"));
  return result;
}

TestFolder::TestFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "kestrix_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) std::abort();
  _folder = name;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(_folder, ignored);
}

std::string TestFolder::path(const std::string& name) const { return (_folder / name).string(); }

std::string TestFolder::write(const std::string& name, const std::string& text) const {
  std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
  std::ofstream(path(name), std::ios::binary) << text;
  return path(name);
}

bool TestFolder::has(const std::string& name) const { return std::filesystem::exists(path(name)); }

std::vector<std::string> TestFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(_folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream is(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(is), {}};
}

std::string Sample(const std::string& name) {
  return (std::filesystem::path(KESTRIX_SAMPLES) / name).string();
}
