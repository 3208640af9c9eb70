// Calls of the operating system that fail, one at a time and each at every place: the program ends
// by itself with the whole file, or with a message and the older file as it was.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "builtscene.h"
#include "runprogram.h"

namespace {

const std::string kFaultModel =
    kHeader + BodyAt(1, "a", 0) + BodyAt(2, "b", 1, "1 0 0 0 1 0 0 0 1 0 1 0") +
    "M 1 coat\n2 .1 .2 .3\n100 1 'p.png' -1\n0\n"
    "P 1 1 3 0 0 0 0 0 3 .5 2 -1 1 0 1 0 0 -1 0 1 0 1 0 -1\nF 2 1 3 0 0 0 -1 1 0 0 -1 0 1 0 -1\n";

class FailingCalls : public testing::Test {
 protected:
  void SetUp() override {
#if defined(KESTRIX_SANITIZED)
    GTEST_SKIP() << "sanitizers need heap, space and calls of their own";
#endif
    _folder.write("in.mdl", kFaultModel);
    _folder.write("in.dof", DofWithOrder("1 2 3 6 5 4"));
    _folder.write("p.png", std::string(1000, 'p'));
    EXPECT_EQ(run().status, 0);
    _whole = _folder.read("out.fbx");
  }

  [[nodiscard]] RunResult run() const {
    return RunKestrix({"in.mdl", "in.dof", "out.fbx"}, _folder.path());
  }

  // Runs with the n-th call failing. Both ends that are allowed leave nothing beside them.
  RunResult runWithFault(const std::string& call, long number, int error) const {
    _folder.write("out.fbx", kOlder);
    const std::string value = call + " " + std::to_string(number) + " " + std::to_string(error);
    setenv("KESTRIX_FAULT", value.c_str(), 1);
    setenv("LD_PRELOAD", KESTRIX_FAULTS, 1);
    RunResult result = run();
    unsetenv("LD_PRELOAD");
    EXPECT_EQ(_folder.names(), (std::vector<std::string>{"in.dof", "in.mdl", "out.fbx", "p.png"}));
    const std::string left = _folder.read("out.fbx");
    if (result.status != 0) {
      EXPECT_TRUE(left == kOlder);
    } else if (result.err.empty()) {
      EXPECT_TRUE(left == _whole);
    } else {  // all but a picture
      EXPECT_NE(result.err.find("p.png': "), std::string::npos) << result.err;
      EXPECT_TRUE(left.size() < _whole.size() && left.starts_with("Kaydara"));
    }
    EXPECT_LE(result.status, 1) << result.err;
    return result;
  }

  // How many calls of a kind a run makes that nothing happens to.
  [[nodiscard]] long countCalls(const std::string& call) const {
    const TestFolder counts;
    setenv("KESTRIX_FAULT_COUNT", counts.path("count").c_str(), 1);
    EXPECT_EQ(runWithFault(call, 0, 0).err, "");
    unsetenv("KESTRIX_FAULT_COUNT");
    return std::stol(counts.read("count"));
  }

  TestFolder _folder;
  std::string _whole;  // what a run writes that nothing happens to
};

TEST_F(FailingCalls, MemoryThatEndsIsSaid) {
  const long requests = countCalls("memory");
  EXPECT_GT(requests, 100);
  for (long i = 1; i <= requests; ++i) {
    const RunResult result = runWithFault("memory", i, ENOMEM);
    if (result.status == 1) {
      EXPECT_TRUE(result.err.starts_with("Unable to allocate memory!\n")) << i << result.err;
    }
    if (HasFailure()) FAIL() << "request " << i << " of " << requests << ": " << result.err;
  }
}

TEST_F(FailingCalls, FailedCallsAreSaid) {
  const struct {
    const char* call;
    int error;
    const char* reason;  // in the message; null where the run goes on to the end
  } cases[] = {
      {"read", EIO, ""},
      {"read", 0, ""},
      {"open", EMFILE, ""},
      {"write", ENOSPC, "No space left on device"},
      {"write", EINTR, nullptr},
      {"fsync", EIO, "Input/output error"},
      {"fsync", EINVAL, nullptr},
      {"close", EIO, ""},
      {"fchmod", EPERM, nullptr},
      {"tmpfile", EOPNOTSUPP, nullptr},
      {"linkat", EEXIST, nullptr},
      {"linkat", EDQUOT, "Disk quota exceeded"},
      {"rename", EACCES, "Permission denied"},
  };
  for (const auto& c : cases) {
    const long calls = countCalls(c.call);
    EXPECT_GT(calls, 0) << c.call;
    for (long i = 1; i <= calls; ++i) {
      const RunResult result = runWithFault(c.call, i, c.error);
      SCOPED_TRACE(std::string(c.call) + " " + std::to_string(i) + ": " + result.err);
      if (c.reason == nullptr) {
        EXPECT_EQ(result.err, "");
      } else if (result.status == 1) {
        EXPECT_TRUE(result.err.starts_with("\n\nERROR: "));
        EXPECT_NE(result.err.find(c.reason), std::string::npos);
      }
    }
  }
}

TEST_F(FailingCalls, AddressSpaceThatEndsIsSaid) {
  constexpr long kFirst = 7000;
  long kilobytes = kFirst;
  for (RunResult result; (result = runWithFault("space", kilobytes, 0)).status != 0;
       kilobytes += 100) {
    EXPECT_TRUE(result.err.starts_with("Unable to allocate memory!\n")) << result.err;
    ASSERT_LT(kilobytes, 100000);
  }
  EXPECT_GT(kilobytes, kFirst);
}

}  // namespace
