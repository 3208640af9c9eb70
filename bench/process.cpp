#include "process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

Cost RunFunction(const std::function<bool()>& work) {
  std::fflush(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    _exit(work() ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  int status = 0;
  rusage usage = {};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
    std::fprintf(stderr, "A measured process failed.\n");
    std::exit(EXIT_FAILURE);
  }
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  const double user = Seconds(usage.ru_utime);
  return {user + Seconds(usage.ru_stime), user, wall.count(),
          1024.0 * static_cast<double>(usage.ru_maxrss)};
}

Cost RunProgram(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  return RunFunction([&arguments] {
    execvp(arguments[0], arguments.data());
    std::perror(arguments[0]);
    return false;
  });
}

std::vector<Cost> Medians(int rounds, const std::vector<std::function<Cost()>>& jobs) {
  std::vector<std::vector<Cost>> costs(jobs.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < jobs.size(); ++i) costs[i].push_back(jobs[i]());
  }
  std::vector<Cost> medians;
  for (const std::vector<Cost>& of_job : costs) {
    const auto median = [&of_job](double Cost::*part) {
      std::vector<double> values;
      values.reserve(of_job.size());
      for (const Cost& cost : of_job) values.push_back(cost.*part);
      return Median(values);
    };
    medians.push_back(
        {median(&Cost::cpu), median(&Cost::user), median(&Cost::wall), median(&Cost::peak)});
  }
  return medians;
}
