#include "Bt/btexcept.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "btreading.h"

BtExceptionHandler theExceptObj;
bool BtExceptionHandler::_abort_on_clear = false;
bool BtExceptionHandler::_abort_on_error = false;

namespace {

constexpr int kWidth = 70;
constexpr int kTabStop = 8;
// Printed text is handed on in pieces of about this size.
constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

bool IsBreak(char c) { return c == ' ' || c == '\t' || c == '\n'; }

// The column behind `c`. A character of several bytes in UTF-8 takes one column.
int ColumnAfter(int column, char c) {
  if (c == '\t') return (column / kTabStop + 1) * kTabStop;
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U ? column : column + 1;
}

// Appends `message`, wrapped at kWidth columns that are counted without the indent; every further
// line is indented by `indent` blanks.
void AppendWrapped(std::string* out, std::string_view message, std::size_t indent) {
  constexpr std::size_t kNone = std::string_view::npos;
  // Most of millions of warnings fit a line.
  if (message.size() <= kWidth && message.find('\t') == kNone && message.find('\n') == kNone) {
    out->append(message);
    return;
  }
  std::size_t line_start = 0;
  std::size_t last_break = kNone;
  int column = 0;
  for (std::size_t i = 0; i < message.size(); ++i) {
    const char c = message[i];
    column = ColumnAfter(column, c);
    // A blank that begins a line is no place to break it.
    if (c == '\n' || (IsBreak(c) && i > line_start)) last_break = i;
    if ((c != '\n' && column <= kWidth) || last_break == kNone) continue;
    out->append(message, line_start, last_break - line_start).append("\n").append(indent, ' ');
    line_start = last_break + 1;
    last_break = kNone;
    column = 0;
    for (std::size_t k = line_start; k <= i; ++k) column = ColumnAfter(column, message[k]);
  }
  out->append(message, line_start);
}

// Produces the printed form; `put(std::string*)` takes a piece and empties it.
template <class Put>
void PrintException(const BtExcept& exception, Put put) {
  const std::string_view prefix = exception.isWarning() ? "WARNING: " : "ERROR: ";
  std::string piece("\n\n");
  piece += prefix;
  AppendWrapped(&piece, exception.message().view(), prefix.size());
  piece += '\n';
  const BtExcept* record = &exception;
  while (record->hasDetail()) {
    record = &record->detail();
    piece.append(prefix.size(), ' ');
    AppendWrapped(&piece, record->message().view(), prefix.size());
    piece += '\n';
    if (piece.size() >= kPieceSize) put(&piece);
  }
  piece += '\n';
  put(&piece);
}

void PrintOnStandardError(const BtExcept& exception) {
  std::cout.flush();
  PrintException(exception, [](std::string* piece) {
    std::cerr << *piece;
    piece->clear();
  });
  std::cerr.flush();
}

}  // namespace

BtExcept::BtExcept(bool warning, const BtStr& message, BtExcept* detail)
    : _warning(warning), _message(message), _detail(detail) {
  BtAssert(!message.isNull(), "!message.isNull()");
}

BtExcept::~BtExcept() {
  std::unique_ptr<BtExcept> record(_detail);
  while (record != nullptr) record.reset(std::exchange(record->_detail, nullptr));
}

const BtExcept& BtExcept::detail() const {
  BtAssert(this->hasDetail(), "this->hasDetail()");
  return *_detail;
}

BtExceptionHandler::~BtExceptionHandler() { std::default_delete<BtExcept>()(_exception); }

void BtExceptionHandler::set(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const BtStr message = BtVFormat(format, args);
  va_end(args);
  set(message);
}

void BtExceptionHandler::set(const BtStr& message) {
  _record(false, message);
  if (_abort_on_error) std::abort();
}

void BtExceptionHandler::setAsWarning(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const BtStr message = BtVFormat(format, args);
  va_end(args);
  setAsWarning(message);
}

void BtExceptionHandler::setAsWarning(const BtStr& message) {
  if (errorOccurred()) {
    PrintOnStandardError(*_exception);
    BtAssert(!errorOccurred(), "!errorOccurred()");
  }
  _record(true, message);
}

bool BtExceptionHandler::errorOccurred() const {
  return _exception != nullptr && !_exception->isWarning();
}

const BtExcept& BtExceptionHandler::exception() const {
  BtAssert(_exception != nullptr, "_exception");
  return *_exception;
}

void BtExceptionHandler::setCode(BtCode code) {
  BtAssert(_exception != nullptr, "_exception");
  _exception->setCode(code);
}

void BtExceptionHandler::clear() {
  BtAssert(!_abort_on_clear, "!_abort_on_clear");
  const std::unique_ptr<BtExcept> forgotten(release());
}

BtExcept* BtExceptionHandler::release() { return std::exchange(_exception, nullptr); }

void BtExceptionHandler::restore(BtExcept* exception) {
  BtAssert(_exception == nullptr, "!_exception");
  _exception = exception;
}

bool BtExceptionHandler::checkCancel() {
  if (!cancelAsked()) return false;
  set("Canceled.");
  return true;
}

void BtExceptionHandler::_record(bool warning, const BtStr& message) {
  _exception = std::make_unique<BtExcept>(warning, message, _exception).release();
  BtPlace place;
  BtReading* const reading = BtReading::innermost();
  if (reading != nullptr && reading->find(&place)) _exception->setPlace(std::move(place));
}

bool BtFail(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const BtStr message = BtVFormat(format, args);
  va_end(args);
  return BtFail(message);
}

bool BtFail(const BtStr& message) {
  theExceptObj.set(message);
  return false;
}

bool BtFail(BtCode code, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const BtStr message = BtVFormat(format, args);
  va_end(args);
  return BtFail(code, message);
}

bool BtFail(BtCode code, const BtStr& message) {
  theExceptObj.set(message);
  theExceptObj.setCode(code);
  return false;
}

void BtWarn(BtCode code, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const BtStr message = BtVFormat(format, args);
  va_end(args);
  BtWarn(code, message);
}

void BtWarn(BtCode code, const BtStr& message) {
  theExceptObj.setAsWarning(message);
  theExceptObj.setCode(code);
}

bool BtError() { return theExceptObj.errorOccurred(); }

bool BtReportError() {
  // What has been printed is not discarded, so this is no clear() in the sense of its guard.
  const std::unique_ptr<const BtExcept> record(theExceptObj.release());
  if (record == nullptr) return false;
  PrintOnStandardError(*record);
  return !record->isWarning();
}

void BtGetExceptionStr(BtStr* str, const BtExcept& exception) {
  BtAssert(str != nullptr, "str");
  *str = "";
  PrintException(exception, [str](std::string* piece) {
    str->append(*piece);
    piece->clear();
  });
}
