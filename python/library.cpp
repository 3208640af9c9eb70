#include "library.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <utility>

#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "cancel.h"

namespace {

constexpr std::chrono::milliseconds kPatience(10);  // between two questions for Ctrl-C
constexpr int kTurnsToStop = 2;                     // for work that is asked to stop

// The lock. A semaphore, since work that is left to itself gives it back in another thread.
std::binary_semaphore lock(1);
std::atomic<std::thread::id> owner;
int depth = 0;  // how often the owner has it
// How often this thread has a lock that it left to its work.
thread_local int left_behind = 0;
// True in a thread that waits for its work, and so in signal handlers.
thread_local bool is_waiting = false;

std::atomic<bool> stop_asked = false;
bool StopAsked() { return stop_asked; }

// Work and what becomes of it. Python's things in it are let go with the interpreter only.
struct Job {
  std::function<void()> work;
  std::vector<Told> told;
  std::exception_ptr failure;
  std::mutex mutex;
  std::condition_variable ended;
  bool is_ended = false;
  bool is_left = false;  // nobody waits for it
};

// Guarded by the interpreter's lock: work that was left to itself, and what is to be destroyed.
std::vector<std::shared_ptr<Job>>& LeftJobs() {
  static auto* const jobs = new std::vector<std::shared_ptr<Job>>;
  return *jobs;
}
std::vector<std::function<void()>>& Discarded() {
  static auto* const discarded = new std::vector<std::function<void()>>;
  return *discarded;
}

bool IsOwner() { return owner.load() == std::this_thread::get_id(); }

void Own() {
  owner = std::this_thread::get_id();
  depth = 1;
}

void Let() {
  if (left_behind > 0) {
    --left_behind;
    return;
  }
  if (--depth > 0) return;
  owner = std::thread::id();
  lock.release();
}

bool TakeAfterWaiting() {
  const py::gil_scoped_release released;
  return lock.try_acquire_for(kPatience);
}

// For a thread that has both locks: lets go what had to wait.
void CleanUp() {
  std::erase_if(LeftJobs(), [](const std::shared_ptr<Job>& job) {
    const std::lock_guard guard(job->mutex);
    if (job->is_ended) job->work = nullptr;
    return job->is_ended;
  });
  while (!Discarded().empty()) {
    const std::function<void()> destroy = std::move(Discarded().back());
    Discarded().pop_back();
    destroy();
  }
}

void DoWork(Job* job) {
  SetCancelHost(StopAsked);
  theExceptObj.setCancelHook(StopAsked);
  try {
    job->work();
    job->told = TakeTold();
  } catch (...) {
    job->failure = std::current_exception();
  }
  delete theExceptObj.release();
}

// What the thread of a job does.
void WorkAlone(const std::shared_ptr<Job>& job) {
  DoWork(job.get());
  const std::lock_guard guard(job->mutex);
  job->is_ended = true;
  job->ended.notify_all();
  if (job->is_left) lock.release();
}

// True when the job ends in time.
bool WaitFor(Job* job) {
  const py::gil_scoped_release released;
  std::unique_lock guard(job->mutex);
  return job->ended.wait_for(guard, kPatience, [job] { return job->is_ended; });
}

// Leaves the lock to a job that does not stop; false where it has ended meanwhile.
bool LeaveAlone(const std::shared_ptr<Job>& job) {
  const std::lock_guard guard(job->mutex);
  if (job->is_ended) return false;
  job->is_left = true;
  left_behind = depth;
  owner = std::thread::id();
  depth = 0;
  LeftJobs().push_back(job);
  return true;
}

// Waits for a job, which is let go then, and raises what a signal handler raises meanwhile.
void WaitOrLeave(const std::shared_ptr<Job>& job) {
  bool is_left = false;
  std::optional<py::error_already_set> interrupt;
  int turns = 0;
  is_waiting = true;
  while (!is_left && !WaitFor(job.get())) {
    if (!interrupt && PyErr_CheckSignals() != 0) {
      interrupt.emplace();
      stop_asked = true;
    }
    is_left = interrupt && ++turns > kTurnsToStop && LeaveAlone(job);
  }
  is_waiting = false;
  if (!is_left) job->work = nullptr;
  if (interrupt) throw py::error_already_set(*interrupt);
}

Told ToldBy(const BtExcept& record, WhereFinder* finder) {
  return {!record.isWarning(), std::string(record.message().view()),
          record.code() == nullptr ? "" : record.code(), finder->find(record.place())};
}

py::object ErrorsModule() { return py::module_::import("kestrix._errors"); }

py::object OrNone(const std::string& text) {
  return text.empty() ? py::object(py::none()) : py::object(TextOf(text));
}

}  // namespace

Library::Library() {
  if (is_waiting) {
    throw std::runtime_error("kestrix is at work: it cannot be called by a signal handler now");
  }
  if (left_behind == 0 && IsOwner()) {
    ++depth;
    return;
  }
  if (!lock.try_acquire()) {
    while (!TakeAfterWaiting()) {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }
  }
  Own();
  CleanUp();
}

Library::~Library() { Let(); }

void Discard(std::function<void()> destroy) {
  if (!is_waiting && IsOwner()) return destroy();
  if (is_waiting || !lock.try_acquire()) {
    Discarded().push_back(std::move(destroy));
    return;
  }
  Own();
  destroy();
  Let();
}

void LockForFork() {
  if (IsOwner()) return;  // a signal handler forks while its thread waits for work
  if (!lock.try_acquire()) {
    while (!TakeAfterWaiting()) {
    }
  }
  Own();
}

void UnlockAfterFork() {
  if (!is_waiting) Let();
}

void EndWork() {
  if (IsOwner()) return;
  stop_asked = true;
  LockForFork();
  CleanUp();
  Let();
}

std::vector<Told> Run(std::function<void()> work) {
  const Library library;
  const auto job = std::make_shared<Job>();
  job->work = std::move(work);
  stop_asked = false;
  std::thread(WorkAlone, job).detach();
  WaitOrLeave(job);
  if (job->failure != nullptr) std::rethrow_exception(job->failure);
  return std::move(job->told);
}

void Call(std::function<void()> work) {
  const std::vector<Told> told = Run(std::move(work));
  if (!told.empty() && told.front().is_error) RaiseError(told);
  Warn(told);
}

std::vector<Told> TakeTold() {
  const std::unique_ptr<BtExcept> first(theExceptObj.release());
  std::vector<Told> told;
  if (first == nullptr) return told;
  std::vector<const BtExcept*> records;
  for (const BtExcept* record = first.get(); record != nullptr;
       record = record->hasDetail() ? &record->detail() : nullptr) {
    records.push_back(record);
  }
  WhereFinder finder;
  if (!first->isWarning()) {
    for (const BtExcept* record : records) told.push_back(ToldBy(*record, &finder));
    return told;
  }
  BtHashMap<std::string, std::size_t> places;
  for (auto i = records.rbegin(); i != records.rend(); ++i) {
    const auto [place, is_new] =
        places.try_emplace(std::string((*i)->message().view()), told.size());
    if (is_new) {
      told.push_back(ToldBy(**i, &finder));
    } else {
      ++told[place->second].count;
    }
  }
  return told;
}

py::list ToPython(const std::vector<Told>& told) {
  const py::object type = ErrorsModule().attr("Message");
  py::list list;
  for (const Told& one : told) {
    list.append(type(TextOf(one.text), one.is_error, OrNone(one.code), OrNone(one.where.file),
                     one.where.line > 0 ? py::object(py::int_(one.where.line)) : py::none(),
                     one.where.column > 0 ? py::object(py::int_(one.where.column)) : py::none(),
                     one.count));
  }
  return list;
}

void RaiseError(const std::vector<Told>& told) {
  const py::object type = ErrorsModule().attr("Error");
  PyErr_SetObject(type.ptr(), type(ToPython(told)).ptr());
  throw py::error_already_set();
}

void Warn(const std::vector<Told>& told) {
  if (told.empty()) return;
  ErrorsModule().attr("warn")(ToPython(told));
}

std::string FileName(const py::object& path) {
  const auto named = py::reinterpret_steal<py::object>(PyOS_FSPath(path.ptr()));
  if (!named) throw py::error_already_set();
  const py::bytes bytes =
      py::isinstance<py::bytes>(named)
          ? py::bytes(named)
          : py::reinterpret_steal<py::bytes>(PyUnicode_EncodeFSDefault(named.ptr()));
  if (!bytes) throw py::error_already_set();
  const std::string name = bytes;
  if (name.find('\0') != std::string::npos) throw py::value_error("embedded null byte");
  if (name.empty()) throw py::value_error("the name of the file is empty");
  return name;
}

std::string NameText(const py::object& name, const char* what) {
  if (!py::isinstance<py::str>(name)) {
    throw py::type_error(std::string(what) + " must be a str");
  }
  const auto bytes =
      py::reinterpret_steal<py::bytes>(PyUnicode_AsEncodedString(name.ptr(), "utf-8", "strict"));
  if (!bytes) throw py::error_already_set();
  const std::string text = bytes;
  if (text.empty()) throw py::value_error(std::string(what) + " must not be empty");
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') {
      throw py::value_error(std::string(what) + " must not hold control characters");
    }
  }
  return text;
}

py::str TextOf(std::string_view bytes) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
}
