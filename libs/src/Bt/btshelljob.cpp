#include "btshelljob.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>

#include "Bt/btexcept.h"

namespace {

// Time between two questions whether the user wants to stop; time that a command has to end by
// itself when its work is done.
constexpr int kQuestionMs = 100;
constexpr int kFinishMs = 60000;
// How often, and how many milliseconds apart, it is tried whether killed processes have gone.
constexpr int kEndTries = 1000;
constexpr int kEndTryMs = 1;
constexpr std::size_t kMaxMessages = 1000;
constexpr int kSignalStatus = 128;

void CloseFd(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

// While one lives, no signal comes through: a handler must not run in a process just forked.
class Undisturbed {
 public:
  Undisturbed() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~Undisturbed() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  Undisturbed(const Undisturbed&) = delete;
  Undisturbed& operator=(const Undisturbed&) = delete;

 private:
  sigset_t _before = {};
};

// Takes a number from the keeper; false when that has died.
bool ReadNumber(int channel, int* number) {
  int value = 0;
  ssize_t count = 0;
  do {
    count = recv(channel, &value, sizeof value, 0);
  } while (count < 0 && errno == EINTR);
  if (count != sizeof value) return false;
  *number = value;
  return true;
}

// Ends a shell that has lost its keeper, and whatever runs with it. Of a group that the keeper had
// no time to name it waits for the end, which comes by itself: a program that is about to open the
// pipe would make a file of that name once it is removed.
void EndGroup(pid_t group, int lives) {
  pollfd file = {lives, 0, 0};  // asks for nothing, which answers the end
  for (int i = 0; i < kEndTries && poll(&file, 1, kEndTryMs) <= 0; ++i) {
    if (group > 0) kill(-group, SIGKILL);
  }
}

// Collects a child; somebody else may have done that already.
void Collect(pid_t pid) {
  while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

// How many milliseconds to wait until the next question; negative when the time is over.
int TimeToQuestion(std::chrono::steady_clock::time_point start, int milliseconds) {
  if (milliseconds == Bt_ShellJob::kForever) return kQuestionMs;
  const auto passed =
      std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  if (passed.count() > milliseconds) return -1;
  return std::min(kQuestionMs, milliseconds - static_cast<int>(passed.count()) + 1);
}

}  // namespace

Bt_ShellJob::~Bt_ShellJob() {
  end();
  CloseFd(&_messages);
}

bool Bt_ShellJob::startKeeper() {
  int ends[2] = {-1, -1};
  int lives[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0 &&
      pipe2(lives, O_CLOEXEC) == 0 && (_messages = memfd_create("messages", MFD_CLOEXEC)) >= 0) {
    const Undisturbed until_forked;
    _keeper = fork();
    if (_keeper == 0) {
      close(ends[0]);
      Bt_KeepShellJob(ends[1], _messages, lives[1]);
    }
  }
  const int error = errno;
  CloseFd(&ends[1]);
  CloseFd(&lives[1]);
  _channel = ends[0];
  _lives = lives[0];
  if (_keeper >= 0) return true;
  end();
  errno = error;
  return false;
}

bool Bt_ShellJob::start(const BtStr& command) {
  int answer = -ECHILD;  // the keeper has died
  if (_send(BtKeeperMessage::Run, command)) (void)ReadNumber(_channel, &answer);
  if (answer > 0) {
    _group = answer;
    return true;
  }
  end();
  return BtFail("%s", std::strerror(-answer));
}

bool Bt_ShellJob::_send(BtKeeperMessage kind, const char* text) const {
  const std::string message = static_cast<char>(kind) + std::string(text);
  ssize_t count = 0;
  do {
    count = send(_channel, message.data(), message.size(), MSG_NOSIGNAL);
  } while (count < 0 && errno == EINTR);
  return count >= 0;
}

Bt_ShellJob::Event Bt_ShellJob::waitFor(int fd, short events, int milliseconds) const {
  const auto start = std::chrono::steady_clock::now();
  const int channel = _is_over ? -1 : _channel;
  for (;;) {
    if (theExceptObj.cancelAsked()) return Event::Canceled;
    const int wait = TimeToQuestion(start, milliseconds);
    if (wait < 0) return Event::Late;
    std::array<pollfd, 2> files = {{{fd, events, 0}, {channel, POLLIN, 0}}};
    if (poll(files.data(), files.size(), _is_over ? 0 : wait) > 0) {
      return files[0].revents != 0 ? Event::Ready : Event::Over;
    }
    if (_is_over) return Event::Over;
  }
}

Bt_ShellJob::Event Bt_ShellJob::finish() {
  const Event event = waitFor(-1, 0, kFinishMs);
  if (event != Event::Over) return event;
  if (_is_over) return event;
  _is_over = true;
  if (ReadNumber(_channel, &_status)) {
    _group = -1;
  } else {
    end();
  }
  return Event::Over;
}

void Bt_ShellJob::end() {
  if (_channel >= 0) {
    // Tells the keeper, also where somebody else, forked at a wrong time, has the channel as well.
    shutdown(_channel, SHUT_WR);
    int answer = 0;
    while (ReadNumber(_channel, &answer)) {
    }
    if (answer != kBtKeeperDone) EndGroup(_group, _lives);
  }
  CloseFd(&_channel);
  CloseFd(&_lives);
  if (_keeper >= 0) Collect(_keeper);
  _keeper = -1;
  _group = -1;
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
