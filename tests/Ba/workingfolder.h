// A folder for the tests of files that include others.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

// A fresh folder, which a test works in. It is removed at the end.
class WorkingFolder : public testing::Test {
 protected:
  WorkingFolder() : _old_path(std::filesystem::current_path()) {
    std::string pattern = testing::TempDir() + "folderXXXXXX";
    _path = mkdtemp(pattern.data());
    std::filesystem::current_path(_path);
  }
  ~WorkingFolder() override {
    std::filesystem::current_path(_old_path);
    std::filesystem::remove_all(_path);
  }

  static void write(const std::string& name, const std::string& text) {
    std::ofstream(name) << text;
  }
  // The absolute path of a file in the folder.
  [[nodiscard]] std::string path(const std::string& name) const { return _path / name; }

 private:
  std::filesystem::path _old_path;
  std::filesystem::path _path;
};
