#include "runprogram.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

StartedKestrix::StartedKestrix(std::vector<std::string> arguments,
                               const std::filesystem::path& directory, const char* program) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& word : arguments) argv.push_back(word.data());
  argv.push_back(nullptr);
  const std::string streams[] = {"/dev/null", _streams.write("out", ""), _streams.write("err", "")};
  _pid = fork();
  if (_pid != 0) return;
  // Tests that run in the background ignore the signal; the program must not.
  std::signal(SIGINT, SIG_DFL);
  bool ready = directory.empty() || chdir(directory.c_str()) == 0;
  for (int i = 0; i < 3; ++i) {
    ready = ready && dup2(open(streams[i].c_str(), O_RDWR | O_CLOEXEC), i) == i;
  }
  if (ready) execv(argv[0], argv.data());
  _exit(127);
}

bool StartedKestrix::_end(int options) {
  if (!_ended) _ended = waitpid(_pid, &_wait_status, options) == _pid;
  return _ended;
}

void StartedKestrix::waitForOutput() {
  while (_streams.read("out").empty() && !_end(WNOHANG)) usleep(100);
}

void StartedKestrix::interrupt() const {
  if (!_ended) kill(_pid, SIGINT);
}

RunResult StartedKestrix::wait() {
  while (!_end(0)) {
  }
  return {WIFEXITED(_wait_status) ? WEXITSTATUS(_wait_status) : 128 + WTERMSIG(_wait_status),
          _streams.read("out"), _streams.read("err")};
}
