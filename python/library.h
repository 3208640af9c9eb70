// The border between Python and the libraries. The libraries have one error state and count the
// owners of their texts without locks, so one thread at a time is in them: everything that touches
// an object of theirs holds a Library, and everything that may record or take long goes through
// Call().
#pragma once

#include <pybind11/pybind11.h>

#include <functional>
#include <string>
#include <vector>

#include "where.h"

namespace py = pybind11;

class BtExcept;

// Holds the lock of the libraries and, before and after, the interpreter's. Nobody waits for the
// first one while having the second one. A thread may take it again.
class Library {
 public:
  // Raises KeyboardInterrupt while it waits for another thread, and RuntimeError in a signal
  // handler that was called while its thread waits for work in a library.
  Library();
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

// Destroys an object of a library once nobody is in them: now, if that can be. It cannot fail,
// since Python lets objects go at any time.
void Discard(std::function<void()> destroy);

// Before and after a fork: the child must not find the lock held by a thread that it has not got.
void LockForFork();
void UnlockAfterFork();
// Before the interpreter ends: stops work that was left to itself and waits for it.
void EndWork();

// One thing that the libraries had to say.
struct Told {
  bool is_error;
  std::string text;
  std::string code;  // of the fact, empty for none
  Where where = {};
  int count = 1;  // how often it was said
};

// Takes what is recorded. With an error at the top: the error and what explains it, as it is
// printed. Otherwise warnings, the oldest first, equal ones as one.
std::vector<Told> TakeTold();
// Raises kestrix.Error.
[[noreturn]] void RaiseError(const std::vector<Told>& told);
// Gives warnings to Python's `warnings`.
void Warn(const std::vector<Told>& told);
// A list of kestrix.Message.
py::list ToPython(const std::vector<Told>& told);

// Calls work() in a thread of its own, while the interpreter is free for other threads and Ctrl-C
// is heard; answers what was recorded. The work must touch nothing of Python's.
//
// Work that does not stop soon after Ctrl-C is left to itself: KeyboardInterrupt is raised, and the
// lock is the work's until it ends. The work therefore owns all that it touches or shares it; it is
// let go by a thread that has the interpreter.
std::vector<Told> Run(std::function<void()> work);

// The same: an error raises kestrix.Error, warnings go to `warnings`.
void Call(std::function<void()> work);

// A text or an os.PathLike as the name of a file.
std::string FileName(const py::object& path);
// A text as the libraries have it. Names may hold neither control characters nor be empty.
std::string NameText(const py::object& name, const char* what);
// Bytes that may not be UTF-8.
py::str TextOf(std::string_view bytes);
