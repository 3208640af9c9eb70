#include "library.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "cancel.h"

namespace {

using std::chrono::steady_clock;
constexpr std::chrono::milliseconds kPatience(20);

std::timed_mutex mutex;
std::atomic<std::thread::id> owner;
int depth = 0;               // how often the owner has it
bool is_in_handler = false;  // of a signal
// What a signal handler raised in the middle of a library.
std::optional<py::error_already_set> interrupt;
steady_clock::time_point asked_last;

bool IsOwner() { return owner.load() == std::this_thread::get_id(); }

void Own() {
  owner = std::this_thread::get_id();
  depth = 1;
}

void Let() {
  if (--depth > 0) return;
  owner = std::thread::id();
  mutex.unlock();
}

// Handlers of signals run in the main thread, and only there is anything to ask for.
bool IsMainThread() {
  static const unsigned long main_thread =
      py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
  return PyThread_get_thread_ident() == main_thread;
}

bool WaitOutside() {
  const py::gil_scoped_release released;
  return mutex.try_lock_for(kPatience);
}

// The cancel hook: asks Python at intervals whether a signal handler has raised something.
bool AskPython() {
  if (interrupt) return true;
  const steady_clock::time_point now = steady_clock::now();
  if (now - asked_last < kPatience) return false;
  const py::gil_scoped_acquire acquired;
  if (IsMainThread()) {
    is_in_handler = true;
    if (PyErr_CheckSignals() != 0) interrupt.emplace();
    is_in_handler = false;
  }
  asked_last = steady_clock::now();
  return interrupt.has_value();
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
  if (IsOwner()) {
    if (is_in_handler) {
      throw std::runtime_error("kestrix is at work: it cannot be called by a signal handler now");
    }
    ++depth;
    return;
  }
  if (!mutex.try_lock()) {
    while (!WaitOutside()) {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }
  }
  Own();
}

Library::~Library() { Let(); }

Library::Quietly::Quietly() {
  if (IsOwner()) {
    ++depth;
    return;
  }
  if (!mutex.try_lock()) {
    while (!WaitOutside()) {
    }
  }
  Own();
}

Library::Quietly::~Quietly() { Let(); }

void LockForFork() {
  if (IsOwner()) return;  // a signal handler forks in the middle of a library
  while (!mutex.try_lock()) {
    if (WaitOutside()) break;
  }
  Own();
}

void UnlockAfterFork() {
  if (!is_in_handler) Let();
}

Work::Work() {
  asked_last = steady_clock::now();
  SetCancelHost(AskPython);
  theExceptObj.setCancelHook(AskPython);
}

Work::~Work() {
  theExceptObj.setCancelHook(nullptr);
  delete theExceptObj.release();
}

void Work::raiseInterrupt() {
  if (!interrupt) {
    // One that came where nobody asked.
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    return;
  }
  const py::error_already_set raised = *interrupt;
  interrupt.reset();
  throw raised;
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
