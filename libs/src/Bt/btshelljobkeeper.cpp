#include "btshelljobkeeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

// The files that the keeper has open; all others are closed.
constexpr int kChannel = 3;
constexpr int kSignals = 4;
constexpr int kLives = 5;  // the only one that shell and command get, too
constexpr int kFirstOwnFd = 10;

// A path may be quoted in a command, four characters for one, twice.
constexpr std::size_t kMaxMessage = 40000;
constexpr std::size_t kMaxPath = 4097;

// The shell is told of the keeper's death by SIGTERM, and ends itself and the command with it.
constexpr char kScriptHead[] = "trap 'kill -9 0' TERM; ";
constexpr char kScriptTail[] = " wait $!; s=$?; wait; exit $s";

using KeptPath = std::array<char, kMaxPath>;

void AppendText(char** to, const char* text) {
  const std::size_t length = std::strlen(text);
  std::memcpy(*to, text, length + 1);
  *to += length;
}

// Only what this user has made there: the path may stand for somebody else's file.
void RemoveKept(const KeptPath& kept, mode_t type) {
  const char* const path = kept.data();
  struct stat info = {};
  if (*path == '\0' || lstat(path, &info) != 0) return;
  if ((info.st_mode & S_IFMT) == type && info.st_uid == geteuid()) unlink(path);
}

class Keeper {
 public:
  [[noreturn]] void run();

 private:
  void _take();
  void _collectShell();
  void _endShell();
  void _startShell(const char* command);
  [[noreturn]] void _runShell(const char* command) const;
  static void _send(int number) { send(kChannel, &number, sizeof number, MSG_NOSIGNAL); }
  [[noreturn]] void _end();

  pid_t _self = getpid();
  pid_t _shell = -1;
  KeptPath _pipe = {};
  KeptPath _file = {};
  std::array<char, kMaxMessage> _message = {};
};

void Keeper::run() {
  std::array<pollfd, 2> files = {{{kChannel, POLLIN, 0}, {kSignals, POLLIN, 0}}};
  for (;;) {
    if (poll(files.data(), files.size(), -1) < 0) continue;  // EINTR, or no memory for now
    if (files[1].revents != 0) _collectShell();
    if (files[0].revents != 0) _take();
  }
}

void Keeper::_take() {
  const ssize_t count = recv(kChannel, _message.data(), _message.size() - 1, 0);
  if (count < 0 && errno == EINTR) return;
  if (count <= 0) _end();
  _message[static_cast<std::size_t>(count)] = '\0';
  const char* const text = _message.data() + 1;
  const auto kind = static_cast<BtKeeperMessage>(_message[0]);
  if (kind == BtKeeperMessage::Run) {
    _startShell(text);
  } else if (static_cast<std::size_t>(count) <= kMaxPath) {
    KeptPath& path = kind == BtKeeperMessage::KeepPipe ? _pipe : _file;
    std::memcpy(path.data(), text, static_cast<std::size_t>(count));
  }
}

void Keeper::_collectShell() {
  signalfd_siginfo signal = {};
  [[maybe_unused]] const ssize_t taken = read(kSignals, &signal, sizeof signal);
  siginfo_t info = {};
  if (_shell < 0 ||
      waitid(P_PID, static_cast<id_t>(_shell), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
      info.si_pid != _shell) {
    return;
  }
  _endShell();
  _send(info.si_code == CLD_EXITED ? info.si_status : -1);
}

void Keeper::_startShell(const char* command) {
  _shell = fork();
  if (_shell == 0) _runShell(command);
  const int error = errno;
  if (_shell > 0) setpgid(_shell, _shell);  // done by the child as well, whichever comes first
  _send(_shell > 0 ? _shell : -error);
}

// In a group of its own, with the signals as a fresh process has them: ignored ones would be handed
// down, and a filter that does not die of a closed pipe may write for ever.
void Keeper::_runShell(const char* command) const {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != _self) _exit(1);
  std::array<char, kMaxMessage + sizeof kScriptHead + sizeof kScriptTail> script;
  char* end = script.data();
  for (const char* const part : {kScriptHead, command, kScriptTail}) AppendText(&end, part);
  for (const int signal : {SIGPIPE, SIGXFSZ, SIGTERM, SIGCHLD}) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  char shell[] = "sh";
  char option[] = "-c";
  std::array<char*, 4> arguments = {shell, option, script.data(), nullptr};
  execve("/bin/sh", arguments.data(), environ);
  _exit(127);
}

void Keeper::_end() {
  // The shell would create anew what is removed before it opens it.
  if (_shell >= 0) _endShell();
  RemoveKept(_pipe, S_IFIFO);
  RemoveKept(_file, S_IFREG);
  _send(kBtKeeperDone);
  _exit(0);
}

// Orphans of the group come to be the keeper's own children. None is collected before all are
// told: until then nobody else can have the group's number.
void Keeper::_endShell() {
  kill(-_shell, SIGKILL);
  while (waitpid(-_shell, nullptr, 0) > 0) {
  }
  _shell = -1;
}

// Gives up all files of the process that this one was forked from: who waits for the end of a pipe
// there must not wait for the keeper.
void TakeFiles(int channel, int messages, int lives) {
  channel = fcntl(channel, F_DUPFD_CLOEXEC, kFirstOwnFd);
  messages = fcntl(messages, F_DUPFD_CLOEXEC, kFirstOwnFd);
  lives = fcntl(lives, F_DUPFD_CLOEXEC, kFirstOwnFd);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (channel < 0 || messages < 0 || lives < 0 || nothing < 0) _exit(1);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  dup2(messages, STDERR_FILENO);
  dup3(channel, kChannel, O_CLOEXEC);
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  const int signals = signalfd(-1, &child, SFD_CLOEXEC | SFD_NONBLOCK);
  if (signals != kSignals) {
    if (signals < 0) _exit(1);
    dup3(signals, kSignals, O_CLOEXEC);
  }
  dup2(lives, kLives);
  close_range(kLives + 1, ~0U, 0);
}

}  // namespace

void Bt_KeepShellJob(int channel, int messages, int lives) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);  // in a container there may be nobody else to collect orphans
  setsid();  // signals to the terminal's group, or to a job of the shell, are not for the keeper
  std::signal(SIGCHLD, SIG_DFL);  // an ignored one would let the shell go uncollected
  TakeFiles(channel, messages, lives);
  Keeper keeper;
  keeper.run();
}
