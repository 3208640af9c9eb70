// Bt_ShellJob: a command that the shell runs beside this process. Its end can be waited for
// together with the pipe that it works on, and it leaves neither processes nor open files behind.
#pragma once

#include <sys/types.h>

#include "btstr.h"

class Bt_ShellJob {
 public:
  enum class Event { Ready, Over, Canceled, Late };
  static constexpr int kForever = -1;

  Bt_ShellJob() = default;
  ~Bt_ShellJob() { end(); }
  Bt_ShellJob(const Bt_ShellJob&) = delete;
  Bt_ShellJob& operator=(const Bt_ShellJob&) = delete;

  // Runs a shell command that ends in "&". False, with the system's error text recorded, when the
  // shell cannot be started.
  bool start(const BtStr& command);
  // Waits until `fd` is ready for `events` (as for poll(); -1 for no file), the job is over, the
  // user has asked to stop, or so many milliseconds have passed. Records nothing.
  [[nodiscard]] Event waitFor(int fd, short events, int milliseconds = kForever) const;
  // Waits for the end of the job, but not for ever, and collects its exit status.
  Event finish();
  // Ends the processes that still run.
  void end();

  // The exit status as the shell tells it, 128 + signal for a killed command; -1 when not known.
  [[nodiscard]] int status() const { return _status; }
  // Records what the command printed on its standard error, then how it ended.
  void recordFailure(const char* program) const;

 private:
  // Shell and command share this pipe's other end: its end of file is theirs. The command's exit
  // status comes through it, so that it is known even where somebody else collects our children.
  int _channel = -1;
  int _messages = -1;  // the file in memory that takes the standard error
  pid_t _shell = -1;   // also the number of the process group
  int _status = -1;
};
