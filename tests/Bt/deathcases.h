// Misuse that must end the process: one row a case.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

struct DeathCase {
  const char* message;  // must stand in what is printed, character by character
  void (*act)();
};

inline void ExpectDeaths(std::initializer_list<DeathCase> cases) {
  for (const DeathCase& c : cases) {
    std::string pattern;
    for (const char* p = c.message; *p != '\0'; ++p) {
      if (std::string("\\()[]{}.*+?|^$").find(*p) != std::string::npos) pattern += '\\';
      pattern += *p;
    }
    SCOPED_TRACE(c.message);
    EXPECT_DEATH(c.act(), pattern);
  }
}

// A failed assertion shows its condition between these marks.
#define ASSERTION(text) "Assertion `" text "' failed."
