// The border between Python and the libraries. The libraries have one error state and count the
// owners of their texts without locks, so one thread at a time is in them: everything that touches
// an object of theirs holds a Library, and everything that may record or take long goes through
// Call().
#pragma once

#include <pybind11/pybind11.h>

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
  // handler that was called out of the middle of a library.
  Library();
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // For destructors, which cannot fail: objects may be let go at any time.
  class Quietly {
   public:
    Quietly();
    ~Quietly();
    Quietly(const Quietly&) = delete;
    Quietly& operator=(const Quietly&) = delete;
  };
};

// Before and after a fork: the child must not find the lock held by a thread that it has not got.
void LockForFork();
void UnlockAfterFork();

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

// Part of Call(): while it lives the interpreter is free for other threads and Ctrl-C is heard.
class Work {
 public:
  Work();
  ~Work();
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  // Raises what a signal handler raised meanwhile.
  static void raiseInterrupt();

 private:
  py::gil_scoped_release _released;
};

// Calls work() without the interpreter's lock and answers what was recorded meanwhile; raises
// KeyboardInterrupt if Ctrl-C came. The work must touch nothing of Python's.
template <class Do>
std::vector<Told> Run(Do work) {
  const Library library;
  std::vector<Told> told;
  {
    const Work at_work;
    work();
    told = TakeTold();
  }
  Work::raiseInterrupt();
  return told;
}

// The same: an error raises kestrix.Error, warnings go to `warnings`.
template <class Do>
void Call(Do work) {
  const std::vector<Told> told = Run(work);
  if (!told.empty() && told.front().is_error) RaiseError(told);
  Warn(told);
}

// A text or an os.PathLike as the name of a file.
std::string FileName(const py::object& path);
// A text as the libraries have it. Names may hold neither control characters nor be empty.
std::string NameText(const py::object& name, const char* what);
// Bytes that may not be UTF-8.
py::str TextOf(std::string_view bytes);
