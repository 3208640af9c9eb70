// Pipes that are read like files: more than once.
#pragma once

#include <string>

// What comes through a pipe that has a number ("/dev/stdin", or "/dev/fd/63" as shells write for a
// program's output) is read to its end and put in the pipe's place. Of what is no model, no mapping
// and no FBX file only the beginning is kept. What cannot be kept is complained of, and cannot be
// read any more. Nothing is done with other files.
void KeepPipe(const std::string& file);
