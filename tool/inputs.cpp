#include "inputs.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <sstream>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "bamodelheader.h"
#include "bttextfile.h"
#include "explain.h"
#include "keptpipe.h"

namespace {

constexpr std::string_view kFbxFileId = "Kaydara FBX Binary";
FileKind KindByName(std::string_view file) {
  if (file.ends_with(".dof")) return FileKind::Mapping;
  return file.ends_with(".fbx") ? FileKind::Fbx : FileKind::Model;
}

// Takes what is printed on standard error while it lives.
class PrintedText {
 public:
  PrintedText() : _old(std::cerr.rdbuf(_text.rdbuf())) {}
  ~PrintedText() { std::cerr.rdbuf(_old); }
  PrintedText(const PrintedText&) = delete;
  PrintedText& operator=(const PrintedText&) = delete;
  [[nodiscard]] std::string text() const { return _text.str(); }

 private:
  std::ostringstream _text;
  std::streambuf* _old;
};

// Runs a reader. Answers each line that it prints by itself, as a warning with its count.
template <class Read>
std::vector<Message> PrintedBy(Read read) {
  std::stringstream lines;
  {
    const PrintedText printed;
    read();
    lines.str(printed.text());
  }
  std::vector<Message> messages;
  for (std::string line; std::getline(lines, line);) {
    // From here on follows the text of a block without an end, of which the error tells.
    if (line.starts_with("Hit eof: ")) break;
    const auto same = std::find_if(messages.begin(), messages.end(),
                                   [&line](const Message& m) { return m.text == line; });
    if (same == messages.end()) {
      messages.push_back({false, line});
    } else {
      ++same->count;
    }
  }
  return messages;
}

}  // namespace

bool CanBeOpened(const std::string& file) {
  std::error_code ignored;
  return !std::filesystem::is_directory(file, ignored) && access(file.c_str(), R_OK) == 0;
}

FileKind KindOf(const std::string& file) {
  KeepPipe(file);
  std::error_code ignored;
  if (std::filesystem::exists(file, ignored) && !std::filesystem::is_regular_file(file, ignored)) {
    return KindByName(file);  // what is read from a pipe is gone
  }
  const BtInputFile input(file.c_str());
  std::array<char, 32> start = {};
  if (input.isOpen()) input.stream().read(start.data(), start.size());
  delete theExceptObj.release();
  return KindOfText({start.data(), start.size()});
}

FileKind KindOfText(std::string_view text) {
  if (text.starts_with(kBaModelFileId)) return FileKind::Model;
  if (text.starts_with(kBaMappingFileId)) return FileKind::Mapping;
  return text.starts_with(kFbxFileId) ? FileKind::Fbx : FileKind::Unknown;
}

const char* KindName(FileKind kind) {
  constexpr const char* kNames[] = {"model", "mapping", "fbx", "unknown"};
  return kNames[static_cast<int>(kind)];
}

std::vector<Message> ReadModel(const std::string& file, BaModel* model) {
  KeepPipe(file);
  std::vector<Message> messages = PrintedBy([&] { model->read(file.c_str()); });
  std::ranges::move(TakeMessages(), std::back_inserter(messages));
  ExplainError(file, FileKind::Model, &messages);
  return messages;
}

std::vector<Message> ReadMapping(const std::string& file, BaUnlockedMapping* mapping) {
  KeepPipe(file);
  std::vector<Message> messages = PrintedBy([&] { mapping->read(file.c_str(), true); });
  std::ranges::move(TakeMessages(), std::back_inserter(messages));
  ExplainError(file, FileKind::Mapping, &messages);
  return messages;
}

bool ReadAddition(const std::string& file, BaModel* model) {
  const std::vector<Message> messages = PrintedBy([&] { model->read(file.c_str()); });
  if (BtError()) return false;
  for (const Message& message : messages) theExceptObj.setAsWarning("%s", message.text.c_str());
  return true;
}
