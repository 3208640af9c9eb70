// What reading and writing compressed files share: the programs by file extension, the words of a
// shell command, the named pipe.
#pragma once

#include <string_view>

#include "Bt/btstr.h"
#include "btshelljob.h"

// The programs for one extension. The commands are run by the shell.
struct Bt_CompProgram {
  std::string_view extension;
  bool text;  // of the extensions that text files may have
  const char* uncompress;
  const char* uncompress_command;  // takes the file's name, then the pipe's
  const char* compress;
  const char* compress_command;  // takes the pipe's name, then the file's
  int not_smaller;               // exit status of a compressor for "whole, but no smaller"
};

// The row of an extension; null, with an error recorded, when there is none.
const Bt_CompProgram* Bt_FindCompProgram(const char* extension);
// True when a file of this name holds compressed text.
bool Bt_IsCompressedText(const char* file_name);
// The text behind the last "." of a file name without its folder; empty when there is none.
BtStr Bt_CompExtension(const char* file_name);
// A file name as one word of a shell command, which no program takes for an option.
BtStr Bt_ShellWord(const char* file_name);

// Makes a pipe that only this user may open, and that `job` keeps. `format` takes the folder, a
// number that no other stream of this process has and the process id. False, with an error
// recorded, on failure.
bool Bt_CreateNamedPipe(const char* format, const Bt_ShellJob& job, BtStr* path);
