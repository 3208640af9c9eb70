// Bt_ShellJob: a command that the shell runs beside this process. Its end can be waited for
// together with the pipe that it works on, and it leaves neither processes nor files behind,
// whichever process dies, and however.
#pragma once

#include <sys/types.h>

#include "Bt/btstr.h"
#include "btshelljobkeeper.h"

// A keeper, forked first of all, is the parent of the shell. It outlives this process for as long
// as it takes to end the shell's group and to remove the pipe and the file that it keeps; its own
// death ends the shell, and that its group, which this process waits for. A keeper may serve
// without a command.
class Bt_ShellJob {
 public:
  enum class Event { Ready, Over, Canceled, Late };
  static constexpr int kForever = -1;

  Bt_ShellJob() = default;
  ~Bt_ShellJob();
  Bt_ShellJob(const Bt_ShellJob&) = delete;
  Bt_ShellJob& operator=(const Bt_ShellJob&) = delete;

  // Starts the keeper. False, with errno set, when that fails.
  bool startKeeper();
  // Have a pipe or a file, which this process is about to create, removed should this process die.
  // A job keeps one of each, the last one named.
  void keepPipe(const char* path) const { (void)_send(BtKeeperMessage::KeepPipe, path); }
  void keepFile(const char* path) const { (void)_send(BtKeeperMessage::KeepFile, path); }
  // Runs a shell command that ends in "&". False, with the system's error text recorded, when the
  // shell cannot be started.
  bool start(const BtStr& command);
  // Waits until `fd` is ready for `events` (as for poll(); -1 for no file), the job is over, the
  // user has asked to stop, or so many milliseconds have passed. Records nothing.
  [[nodiscard]] Event waitFor(int fd, short events, int milliseconds = kForever) const;
  // Waits for the end of the job, but not for ever, and collects its exit status. The keeper goes
  // on to watch over what it keeps.
  Event finish();
  // Ends the processes that still run, so that none creates a file any more, and removes what is
  // kept. What the command printed stays known.
  void end();

  // The exit status as the shell tells it, 128 + signal for a killed command; -1 when not known.
  [[nodiscard]] int status() const { return _status; }
  // Records what the command printed on its standard error, then how it ended.
  void recordFailure(const char* program) const;

 private:
  [[nodiscard]] bool _send(BtKeeperMessage kind, const char* text) const;

  int _channel = -1;   // to the keeper; its end of file tells either side of the other's death
  int _messages = -1;  // the file in memory that takes the standard error
  int _lives = -1;     // a pipe that keeper, shell and command write to: it ends with the last one
  pid_t _keeper = -1;
  bool _is_over = false;
  pid_t _group = -1;  // of shell and command, while they may run
  int _status = -1;
};
