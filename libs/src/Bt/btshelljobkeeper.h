// What the keeper of a shell job does in its own process.
#pragma once

// What a message to the keeper begins with; a text follows.
enum class BtKeeperMessage : char { KeepPipe, KeepFile, Run };
// The keeper's last message, an int as all others, when it has cleaned up.
inline constexpr int kBtKeeperDone = -2;

// Serves one job and ends the process: takes messages from `channel`, runs the command, answers
// there with the shell's process id (or the negative error), then with its exit status, and when
// the channel ends cleans up and says kBtKeeperDone. `messages` takes the command's standard error;
// `lives` is a pipe that every process of the job has open.
// Of the process that it was forked from nothing is used but the stack and what is constant: other
// threads may have held any lock.
[[noreturn]] void Bt_KeepShellJob(int channel, int messages, int lives);
