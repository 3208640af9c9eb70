// A folder for the files of a test.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream is(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(is), {}};
}

// A fresh folder that is removed with the object.
class TestFolder {
 public:
  TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kestrix_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    _folder = name;
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_folder, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  [[nodiscard]] std::string path(const std::string& name = "") const {
    return (_folder / name).string();
  }
  // Writes a file, and the folders that lead to it; answers its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }
  [[nodiscard]] std::string read(const std::string& name) const { return ReadFile(path(name)); }
  // Names of all files in the folder, sorted.
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(_folder)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path _folder;
};
