// The error state of the process: a failing operation records an error or a warning here and
// returns false or null; its callers may add context above it; the program prints it once.
#pragma once

#include <cstdarg>
#include <iosfwd>
#include <memory>
#include <utility>

#include "Bt/btassert.h"
#include "Bt/btstr.h"

// The name of a fact that records tell of, for programs that must not depend on their wording:
// lower-case words joined by "-". It is written where the record is made and never changes.
class BtCode {
 public:
  consteval explicit BtCode(const char* name) : _name(name) {}
  [[nodiscard]] constexpr const char* name() const { return _name; }

 private:
  const char* _name;
};

// A text file and the one that includes it.
struct BtSource {
  BtStr name;  // by which it was opened
  std::shared_ptr<const BtSource> included_by;
};

// A place in a text, as far as it is known. Lines and columns follow from the text of the file,
// which is looked at only when somebody wants to know.
struct BtPlace {
  std::shared_ptr<const BtSource> source;  // null where no file was read
  long long offset = -1;                   // of a byte of the text, unpacked; -1 for none
  int lines = 0;                           // so many lines further than that byte, or back
  int column = -1;  // so many bytes behind the indentation of that line; -1 for the byte itself
};

// One recorded error or warning and the chain of records that explain it.
class BtExcept {
 public:
  // Takes ownership of `detail`, which may be null.
  BtExcept(bool warning, const BtStr& message, BtExcept* detail);
  ~BtExcept();  // the chain is freed without recursion: it may be millions long
  BtExcept(const BtExcept&) = delete;
  BtExcept& operator=(const BtExcept&) = delete;

  [[nodiscard]] bool isWarning() const { return _warning; }
  [[nodiscard]] const BtStr& message() const { return _message; }
  [[nodiscard]] bool hasDetail() const { return _detail != nullptr; }
  [[nodiscard]] const BtExcept& detail() const;
  // The name of what is told, null for none. It is not part of the printed form.
  [[nodiscard]] const char* code() const { return _code; }
  void setCode(BtCode code) { _code = code.name(); }
  // What was being read when the record was made. It is not part of the printed form either.
  [[nodiscard]] const BtPlace& place() const { return _place; }
  void setPlace(BtPlace place) { _place = std::move(place); }

 private:
  bool _warning;
  BtStr _message;
  BtExcept* _detail;
  const char* _code = nullptr;
  BtPlace _place;
};

class BtExceptionHandler {
 public:
  BtExceptionHandler() = default;
  ~BtExceptionHandler();
  BtExceptionHandler(const BtExceptionHandler&) = delete;
  BtExceptionHandler& operator=(const BtExceptionHandler&) = delete;

  // Record an error; what was recorded before becomes its detail.
  void set(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void set(const BtStr& message);
  // Record a warning above earlier warnings. While an error is recorded this prints the error and
  // fails the assertion `!errorOccurred()`.
  void setAsWarning(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void setAsWarning(const BtStr& message);

  [[nodiscard]] bool errorOccurred() const;
  [[nodiscard]] bool hasException() const { return _exception != nullptr; }
  // The current record; asserts that there is one.
  [[nodiscard]] const BtExcept& exception() const;
  // Names the fact that the current record tells of; asserts that there is one.
  void setCode(BtCode code);
  // Forgets the record.
  void clear();
  // Takes the record away without clearing it, and puts one back (asserting that none is held).
  [[nodiscard]] BtExcept* release();
  void restore(BtExcept* exception);

  // While set, clear() is an assertion failure, whether anything is recorded or not.
  static void setAbortOnClear(bool abort_on_clear) { _abort_on_clear = abort_on_clear; }
  // While set, recording an error aborts the process once the record is stored.
  static void setAbortOnError(bool abort_on_error) { _abort_on_error = abort_on_error; }

  // The question that long operations ask: has the user asked to stop? Null for never.
  using CancelHook = bool (*)();
  void setCancelHook(CancelHook hook) { _cancel_hook = hook; }
  // Asks the hook and records nothing.
  [[nodiscard]] bool cancelAsked() const { return _cancel_hook != nullptr && _cancel_hook(); }
  // Asks the hook; when it says yes, records "Canceled." and answers true.
  bool checkCancel();

 private:
  void _record(bool warning, const BtStr& message);

  BtExcept* _exception = nullptr;
  CancelHook _cancel_hook = nullptr;
  static bool _abort_on_clear;
  static bool _abort_on_error;
};

// The one error state.
extern BtExceptionHandler theExceptObj;

// Each records an error as `set()` does and answers false, so that an operation can end with it.
bool BtFail(const char* format, ...) __attribute__((format(printf, 1, 2)));
bool BtFail(const BtStr& message);
bool BtFail(BtCode code, const char* format, ...) __attribute__((format(printf, 2, 3)));
bool BtFail(BtCode code, const BtStr& message);
// Each records a warning with a code as `setAsWarning()` does.
void BtWarn(BtCode code, const char* format, ...) __attribute__((format(printf, 2, 3)));
void BtWarn(BtCode code, const BtStr& message);
// True when an error, not a warning, is recorded.
bool BtError();
// Prints what is recorded on standard error and clears it; true when it was an error.
bool BtReportError();
// The printed form: two empty lines, "ERROR: " or "WARNING: " and the message wrapped at 70
// columns, the chain of details indented beneath it, one empty line.
void BtGetExceptionStr(BtStr* str, const BtExcept& exception);
