#include "progress.h"

#include <unistd.h>

#include <iostream>
#include <numeric>
#include <utility>

#include "Bt/btexcept.h"
#include "cancel.h"
#include "style.h"

namespace {

constexpr std::chrono::seconds kPatience(1);
constexpr std::size_t kBarWidth = 30;
constexpr const char* kWipe = "\r\x1B[K";  // back to the start of the line, which is cleared

Progress* shown_progress = nullptr;

}  // namespace

Progress::Progress(std::vector<double> shares)
    : _shares(std::move(shares)), _is_terminal(isatty(STDERR_FILENO) == 1) {
  shown_progress = this;
  theExceptObj.setCancelHook(_ask);
}

Progress::~Progress() {
  hide();
  shown_progress = nullptr;
  theExceptObj.setCancelHook(CancelAsked);
}

bool Progress::_ask() {
  shown_progress->_draw();
  return CancelAsked();
}

void Progress::begin(const std::string& what) {
  ++_begun;
  _what = what;
  _is_stale = true;
  _draw();
}

void Progress::hide() {
  if (_is_shown) std::cerr << kWipe << std::flush;
  _is_shown = false;
  _is_stale = true;
}

void Progress::_draw() {
  if (!_is_terminal || !_is_stale || Clock::now() - _start < kPatience) return;
  const auto done = _shares.begin() + static_cast<std::ptrdiff_t>(_begun == 0 ? 0 : _begun - 1);
  const double all = std::accumulate(_shares.begin(), _shares.end(), 0.0);
  const double part = all > 0 ? std::accumulate(_shares.begin(), done, 0.0) / all : 0;
  const auto filled = static_cast<std::size_t>(part * static_cast<double>(kBarWidth));
  std::cerr << kWipe << "[" << std::string(filled, '#') << std::string(kBarWidth - filled, ' ')
            << "] " << static_cast<int>(part * 100) << " % " << Printable(_what) << std::flush;
  _is_shown = true;
  _is_stale = false;
}
