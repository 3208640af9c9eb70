#include "cancel.h"

#include <csignal>

#include "Bt/btexcept.h"

namespace {

volatile std::sig_atomic_t cancel_asked = 0;
bool (*host_asked)() = nullptr;

}  // namespace

void InstallCancel() {
  theExceptObj.setCancelHook(CancelAsked);
  if (host_asked != nullptr) return;
  struct sigaction action = {};
  if (sigaction(SIGINT, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = [](int) { cancel_asked = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
}

void SetCancelHost(bool (*asked)()) { host_asked = asked; }

bool CancelAsked() { return host_asked == nullptr ? cancel_asked != 0 : host_asked(); }
