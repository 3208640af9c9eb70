#include "ownprocesses.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <iostream>
#include <map>

#include "Bt/btexcept.h"
#include "arguments.h"

namespace {

// What a process prints, kept in memory: nobody has to read while it prints.
class PrintedFile {
 public:
  PrintedFile() : _fd(memfd_create("printed", MFD_CLOEXEC)) {}
  ~PrintedFile() {
    if (_fd >= 0) close(_fd);
  }
  PrintedFile(const PrintedFile&) = delete;
  PrintedFile& operator=(const PrintedFile&) = delete;
  [[nodiscard]] int fd() const { return _fd; }
  [[nodiscard]] std::string text() const {
    std::string text;
    std::array<char, 1U << 16U> part = {};
    off_t at = 0;
    for (ssize_t count = 0; (count = pread(_fd, part.data(), part.size(), at)) > 0; at += count) {
      text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int _fd;
};

// The stream of errors is flushed with each output.
void RunAndExit(const std::function<int()>& run) {
  theExceptObj.setCancelHook(nullptr);  // the bar is not its business
  const int status = run();
  _exit(std::cout.flush() ? status : kExitTrouble);
}

class OwnProcess {
 public:
  explicit OwnProcess(const std::function<int()>& run) {
    std::cout.flush();  // what is left in it would be printed twice
    const pid_t parent = getpid();
    _pid = fork();
    if (_pid != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(kExitTrouble);
    dup2(_out.fd(), STDOUT_FILENO);
    dup2(_err.fd(), STDERR_FILENO);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing >= 0) dup2(nothing, STDIN_FILENO);
    RunAndExit(run);
  }
  [[nodiscard]] pid_t pid() const { return _pid; }
  [[nodiscard]] OwnRun ended(int wait_status) const {
    OwnRun run = {kExitTrouble, 0, _out.text(), _err.text()};
    if (WIFSIGNALED(wait_status)) {
      run.signal = WTERMSIG(wait_status);
    } else if (WIFEXITED(wait_status)) {
      run.status = WEXITSTATUS(wait_status);
    }
    return run;
  }

 private:
  PrintedFile _out;
  PrintedFile _err;
  pid_t _pid = -1;
};

using Running = std::map<std::size_t, OwnProcess>;
using Done = std::map<std::size_t, OwnRun>;

// Waits until a process ends and moves it to those that are done; answers how many did.
std::size_t AwaitOne(Running* running, Done* done) {
  if (running->empty()) return 0;
  int wait_status = 0;
  const pid_t pid = waitpid(-1, &wait_status, 0);
  const auto ended = std::ranges::find_if(
      *running, [pid](const auto& entry) { return entry.second.pid() == pid; });
  if (ended == running->end()) return 0;
  done->emplace(ended->first, ended->second.ended(wait_status));
  running->erase(ended);
  return 1;
}

}  // namespace

void RunOwnProcesses(const std::vector<std::function<int()>>& runs, int at_once,
                     const std::function<void(std::size_t count)>& progressed,
                     const std::function<void(std::size_t index, const OwnRun& run)>& ended) {
  Running running;
  Done done;  // that wait for one before them
  std::size_t started = 0;
  std::size_t told = 0;
  std::size_t count = 0;
  while (told < runs.size()) {
    while (started < runs.size() && running.size() < static_cast<std::size_t>(at_once)) {
      const auto entry = running.try_emplace(started, runs[started]).first;
      if (entry->second.pid() < 0) {
        done[started] = {kExitTrouble, 0, "", "Unable to start a process.\n"};
        running.erase(entry);
        ++count;
      }
      ++started;
    }
    count += AwaitOne(&running, &done);
    progressed(count);
    for (auto next = done.find(told); next != done.end(); next = done.find(told)) {
      ended(told++, next->second);
      done.erase(next);
    }
  }
}
