// A bar on standard error that tells how far a long command has come.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

// Shown on terminals only, and not within the first second. There is one at a time: it is drawn
// when long operations ask whether the user wants to stop.
class Progress {
 public:
  // The parts of the work with how much each is, in any unit.
  explicit Progress(std::vector<double> shares);
  // Takes the bar away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // The next part begins.
  void begin(const std::string& what);
  // Takes the bar away until it is drawn again, so that something can be printed.
  void hide();

 private:
  using Clock = std::chrono::steady_clock;

  static bool _ask();
  void _draw();

  std::vector<double> _shares;
  std::size_t _begun = 0;  // parts
  std::string _what;
  bool _is_shown = false;
  bool _is_stale = true;
  bool _is_terminal;
  Clock::time_point _start = Clock::now();
};
