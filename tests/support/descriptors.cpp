// Counts the open files of every test program before and behind its tests: whatever a reader or a
// writer met, it closed its files.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <memory>

namespace {

class Descriptors : public testing::Environment {
 public:
  void SetUp() override { _before = count(); }
  void TearDown() override { EXPECT_EQ(count(), _before) << "open files were forgotten"; }

 private:
  static std::ptrdiff_t count() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  std::ptrdiff_t _before = 0;
};

[[maybe_unused]] const testing::Environment* const kDescriptors =
    testing::AddGlobalTestEnvironment(std::make_unique<Descriptors>().release());

}  // namespace
