#include "messages.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "style.h"

namespace {

// The legacy reader shows the record that it read last, over several lines.
constexpr std::string_view kLastRecord = "The last successfully read object was:";

// Blanks and line ends become one blank each.
std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const bool is_blank = c == ' ' || c == '\n' || c == '\t' || c == '\r';
    if (!is_blank) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  if (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

ComplaintListener complaint_listener = nullptr;

void PrintMessage(const std::string& file, const Message& message) {
  if (complaint_listener != nullptr) return complaint_listener(file, message);
  const std::string times =
      message.count > 1 ? " (" + std::to_string(message.count) + " times)" : "";
  const std::string text = message.text + times + ChainText(message.where);
  if (message.where.line == 0) return Complain(file, (message.is_error ? "" : "warning: ") + text);
  std::cerr << Printable(WhereText(message.where))
            << (message.is_error ? ": error: " : ": warning: ") << Printable(text) << "\n";
  if (IsOnTerminal(STDERR_FILENO)) std::cerr << CaretText(message.where);
}

// Makes messages of records, the newest of which comes first. The records must outlive it.
class MessageGatherer {
 public:
  void add(const BtExcept& record) {
    if (record.isWarning()) {
      _addWarning(record);
    } else {
      _addError(record);
    }
  }
  // The oldest message first.
  std::vector<Message> take() {
    WhereFinder finder;
    for (std::size_t i = 0; i < _warnings.size(); ++i) {
      _warnings[i].where = finder.find(*_warning_places[i]);
    }
    _error.where = finder.find(_error_place);
    if (!_error.text.empty()) _warnings.push_back(std::move(_error));
    std::reverse(_warnings.begin(), _warnings.end());
    return std::move(_warnings);
  }

 private:
  // An error and its reasons are one message. The first cause has the code and, where it is known,
  // the place.
  void _addError(const BtExcept& record) {
    const std::string text = OneLine(record.message().view());
    if (text.find(kLastRecord) != std::string::npos) {
      _error.detail = Text(record.message());
      _error.detail.erase(0, _error.detail.find_first_not_of('\n'));
      return;
    }
    _error.text += (_error.text.empty() ? "" : " ") + text;
    if (record.code() != nullptr) _error.code = record.code();
    const bool is_known = record.place().offset >= 0 || _error_place.source == nullptr;
    if (is_known) _error_place = record.place();
  }

  // Equal warnings are one message with the place of the oldest.
  void _addWarning(const BtExcept& record) {
    const std::string text = OneLine(record.message().view());
    const auto [index, is_new] = _indices.try_emplace(text, _warnings.size());
    if (is_new) {
      _warnings.push_back({false, text, record.code()});
      _warning_places.push_back(&record.place());
    } else {
      ++_warnings[index->second].count;
      _warning_places[index->second] = &record.place();
    }
  }

  std::vector<Message> _warnings;
  std::vector<const BtPlace*> _warning_places;
  BtHashMap<std::string, std::size_t> _indices;  // of warnings, by their texts
  Message _error = {true, {}};
  BtPlace _error_place;
};

}  // namespace

std::vector<Message> TakeMessages() {
  const std::unique_ptr<BtExcept> first(theExceptObj.release());
  MessageGatherer gatherer;
  for (const BtExcept* record = first.get(); record != nullptr;
       record = record->hasDetail() ? &record->detail() : nullptr) {
    gatherer.add(*record);
  }
  return gatherer.take();
}

bool HasError(const std::vector<Message>& messages) { return ErrorOf(messages) != nullptr; }

const Message* ErrorOf(const std::vector<Message>& messages) {
  const auto found = std::ranges::find(messages, true, &Message::is_error);
  return found == messages.end() ? nullptr : &*found;
}

std::string ErrorText(const std::vector<Message>& messages) {
  const Message* const error = ErrorOf(messages);
  return error == nullptr ? std::string() : error->text;
}

void SetComplaintListener(ComplaintListener listener) { complaint_listener = listener; }

void Complain(const std::string& file, std::string_view text) {
  if (complaint_listener != nullptr) {
    constexpr std::string_view kWarning = "warning: ";
    const bool is_error = !text.starts_with(kWarning);
    if (!is_error) text.remove_prefix(kWarning.size());
    return complaint_listener(file, {is_error, std::string(text)});
  }
  // Some messages name file and line themselves.
  const bool names_file = text.starts_with(file + ":");
  std::cerr << "kestrix-tool: " << (names_file ? "" : Printable(file) + ": ") << Printable(text)
            << "\n";
}

void PrintWarnings(const std::string& file, const std::vector<Message>& messages) {
  for (const Message& message : messages) {
    if (!message.is_error) PrintMessage(file, message);
  }
}

void PrintError(const std::string& file, const std::vector<Message>& messages) {
  if (const Message* const error = ErrorOf(messages)) PrintMessage(file, *error);
}

bool TellMessages(const std::string& file, const std::vector<Message>& messages) {
  PrintWarnings(file, messages);
  if (!HasError(messages)) return true;
  PrintError(file, messages);
  return false;
}
