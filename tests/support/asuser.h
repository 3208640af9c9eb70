// Runs a part of a test with the rights of an ordinary user: file permissions mean nothing to the
// superuser.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>

// Calls `run()`; for the superuser in a process that has given up its rights for good, as programs
// that it starts would otherwise get them back.
template <class Run>
void RunAsUser(Run run) {
  constexpr uid_t kNobody = 65534;
  if (geteuid() != 0) {
    run();
    return;
  }
  std::cout << std::flush;
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(2);
    run();
    std::cout << std::flush;
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "as an ordinary user";
}
