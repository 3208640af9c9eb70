// Misuse that must end the process: one row a case.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

struct DeathCase {
  std::string message;  // must stand in what is printed, character by character
  void (*act)();
};

inline void ExpectDeaths(std::initializer_list<DeathCase> cases) {
  for (const DeathCase& c : cases) {
    std::string pattern;
    for (const char letter : c.message) {
      if (std::string("\\()[]{}.*+?|^$").find(letter) != std::string::npos) pattern += '\\';
      pattern += letter;
    }
    SCOPED_TRACE(c.message);
    EXPECT_DEATH(c.act(), pattern);
  }
}

// The same for assertions, which show their conditions.
inline void ExpectAssertions(std::initializer_list<DeathCase> cases) {
  for (const auto& [condition, act] : cases) {
    ExpectDeaths({{"Assertion `" + condition + "' failed.", act}});
  }
}
