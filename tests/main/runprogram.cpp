#include "runprogram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

StartedKestrix::StartedKestrix(const std::vector<std::string>& arguments,
                               const std::filesystem::path& directory) {
  std::vector<std::string> words = {KESTRIX_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  constexpr int kNewFile = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, 1, _streams.path("out").c_str(), kNewFile, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, _streams.path("err").c_str(), kNewFile, 0600);
  if (!directory.empty()) posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
  // Tests that run in the background ignore SIGINT; the program must not.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  if (posix_spawn(&_pid, argv[0], &actions, &attributes, argv.data(), environ) != 0) std::abort();
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
}

bool StartedKestrix::_end(int options) {
  if (!_ended) _ended = waitpid(_pid, &_wait_status, options) == _pid;
  return _ended;
}

void StartedKestrix::waitForOutput() {
  while (std::filesystem::file_size(_streams.path("out")) == 0 && !_end(WNOHANG)) usleep(100);
}

void StartedKestrix::interrupt() const {
  if (!_ended) kill(_pid, SIGINT);
}

RunResult StartedKestrix::wait() {
  while (!_end(0)) {
  }
  RunResult result;
  result.status =
      WIFEXITED(_wait_status) ? WEXITSTATUS(_wait_status) : 128 + WTERMSIG(_wait_status);
  result.out = ReadFile(_streams.path("out"));
  result.err = ReadFile(_streams.path("err"));
  return result;
}
