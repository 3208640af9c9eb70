// A folder that a test works in.
#pragma once

#include <gtest/gtest.h>

#include "support/testfolder.h"

// A fresh folder, which is the working folder of the test and goes with it.
class WorkingFolder : public testing::Test {
 protected:
  WorkingFolder() { std::filesystem::current_path(_folder.path()); }
  ~WorkingFolder() override { std::filesystem::current_path(_old_path); }

  const TestFolder _folder;

 private:
  const std::filesystem::path _old_path = std::filesystem::current_path();
};
