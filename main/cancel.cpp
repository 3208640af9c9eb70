#include "cancel.h"

#include <csignal>

#include "btexcept.h"

namespace {

volatile std::sig_atomic_t cancel_asked = 0;

}  // namespace

void InstallCancel() {
  struct sigaction action = {};
  if (sigaction(SIGINT, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = [](int) { cancel_asked = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  theExceptObj.setCancelHook(CancelAsked);
}

bool CancelAsked() { return cancel_asked != 0; }
