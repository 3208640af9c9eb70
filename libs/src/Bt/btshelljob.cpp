#include "btshelljob.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>

#include "btexcept.h"

namespace {

// Time between two questions whether the user wants to stop; times that a command has to end by
// itself when its work is done, and when it is told to.
constexpr int kQuestionMs = 100;
constexpr int kFinishMs = 60000;
constexpr int kEndMs = 2000;

constexpr int kStatusFd = 3;
constexpr int kFirstOwnFd = 10;
constexpr std::size_t kMaxMessages = 1000;
constexpr int kSignalStatus = 128;

// The command's exit status goes to file 3. SIGTERM ends the command, not the shell, which has to
// collect it: in a container there may be nobody else who would.
constexpr const char* kScript = "trap : TERM; %s wait $!; s=$?; wait; echo $s >&3";

// A file that the spawned shell's own numbers (0 to 3) cannot get in the way of.
int MovedUp(int fd) {
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, kFirstOwnFd);
  const int error = errno;
  close(fd);
  errno = error;
  return moved;
}

void CloseFd(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

// In a group of its own, with the signals as a fresh process has them: ignored ones would be handed
// down, and a filter that does not die of a closed pipe may write for ever.
int SpawnShell(const BtStr& script, int status_fd, int messages_fd, pid_t* shell) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, messages_fd, STDERR_FILENO);
  posix_spawn_file_actions_adddup2(&actions, status_fd, kStatusFd);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  for (const int signal : {SIGPIPE, SIGXFSZ, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes,
                           POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  std::array<std::string, 3> words = {"sh", "-c", std::string(script.view())};
  std::array<char*, 4> arguments = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  const int error = posix_spawn(shell, "/bin/sh", &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

// Collects a child; somebody else may have done that already.
void Collect(pid_t pid) {
  while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

bool Bt_ShellJob::start(const BtStr& command) {
  int ends[2] = {-1, -1};
  int error = 0;
  if (pipe2(ends, O_CLOEXEC) != 0 || (ends[1] = MovedUp(ends[1])) < 0 ||
      (_messages = memfd_create("messages", MFD_CLOEXEC)) < 0 ||
      (_messages = MovedUp(_messages)) < 0) {
    error = errno;
  } else {
    const BtStr script = BtFormat(kScript, static_cast<const char*>(command));
    error = SpawnShell(script, ends[1], _messages, &_shell);
  }
  CloseFd(&ends[1]);
  _channel = ends[0];
  if (error == 0) return true;
  _shell = -1;
  end();
  theExceptObj.set("%s", std::strerror(error));
  return false;
}

Bt_ShellJob::Event Bt_ShellJob::waitFor(int fd, short events, int milliseconds) const {
  using std::chrono::steady_clock;
  const auto start = steady_clock::now();
  for (;;) {
    if (theExceptObj.cancelAsked()) return Event::Canceled;
    int slice = kQuestionMs;
    if (milliseconds != kForever) {
      const auto passed = std::chrono::ceil<std::chrono::milliseconds>(steady_clock::now() - start);
      if (passed.count() > milliseconds) return Event::Late;
      slice = std::min(slice, milliseconds - static_cast<int>(passed.count()) + 1);
    }
    std::array<pollfd, 2> files = {{{fd, events, 0}, {_channel, POLLIN, 0}}};
    if (poll(files.data(), files.size(), slice) <= 0) continue;
    return files[0].revents != 0 ? Event::Ready : Event::Over;
  }
}

Bt_ShellJob::Event Bt_ShellJob::finish() {
  const Event event = waitFor(-1, 0, kFinishMs);
  if (event != Event::Over) return event;
  std::array<char, 16> text = {};
  ssize_t count = 0;
  do {
    count = read(_channel, text.data(), text.size());
  } while (count < 0 && errno == EINTR);
  if (count > 0) std::from_chars(text.data(), text.data() + count, _status);
  CloseFd(&_channel);
  Collect(_shell);
  _shell = -1;
  return Event::Over;
}

void Bt_ShellJob::end() {
  if (_shell >= 0) {
    kill(-_shell, SIGTERM);
    pollfd channel = {_channel, POLLIN, 0};
    if (poll(&channel, 1, kEndMs) <= 0) kill(-_shell, SIGKILL);
    Collect(_shell);
    _shell = -1;
  }
  CloseFd(&_channel);
  CloseFd(&_messages);
}

void Bt_ShellJob::recordFailure(const char* program) const {
  std::array<char, kMaxMessages> text = {};
  const ssize_t count = _messages < 0 ? 0 : pread(_messages, text.data(), text.size(), 0);
  BtStr messages(
      std::string_view(text.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))));
  messages.trimRight();
  if (messages.length() > 0) theExceptObj.set(messages);
  if (_status > kSignalStatus) {
    theExceptObj.set("The command '%s' was ended by signal %d.", program, _status - kSignalStatus);
  } else if (_status >= 0) {
    theExceptObj.set("The command '%s' ended with exit status %d.", program, _status);
  } else {
    theExceptObj.set("The command '%s' did not end as it should.", program);
  }
}
