#include "sniff.h"

#include <algorithm>
#include <array>
#include <memory>

#include "Bt/btexcept.h"
#include "bamodelheader.h"
#include "bttextfile.h"
#include "style.h"

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kStartSize = 512;

constexpr const char* kOtherKind = "file-kind";
constexpr const char* kEncoding = "file-encoding";

// How files begin.
constexpr struct {
  std::size_t at;
  std::string_view bytes;
  const char* code;
  const char* text;
} kStarts[] = {
    {0, "\xFF\xFE"sv, kEncoding, "The file is UTF-16 text; save it as UTF-8."},
    {0, "\xFE\xFF"sv, kEncoding, "The file is UTF-16 text; save it as UTF-8."},
    {0, "\xEF\xBB\xBF"sv, kEncoding,
     "The file begins with a byte order mark; save it as UTF-8 without one."},
    {0, "Kaydara FBX Binary"sv, kOtherKind, "The file is an FBX file."},
    {0, "; FBX"sv, kOtherKind, "The file is an FBX file in text form."},
    {0, "\x89PNG"sv, kOtherKind, "The file is a picture (PNG)."},
    {0, "\xFF\xD8\xFF"sv, kOtherKind, "The file is a picture (JPEG)."},
    {0, "GIF8"sv, kOtherKind, "The file is a picture (GIF)."},
    {0, "BM"sv, kOtherKind, "The file is a picture (BMP)."},
    {0, "II*\0"sv, kOtherKind, "The file is a picture (TIFF)."},
    {0, "MM\0*"sv, kOtherKind, "The file is a picture (TIFF)."},
    {0, "8BPS"sv, kOtherKind, "The file is a picture (PSD)."},
    {0, "PK\3\4"sv, kOtherKind, "The file is an archive (ZIP); unpack it first."},
    {0, "Rar!"sv, kOtherKind, "The file is an archive (RAR); unpack it first."},
    {0, "7z\xBC\xAF"sv, kOtherKind, "The file is an archive (7z); unpack it first."},
    {257, "ustar"sv, kOtherKind, "The file is an archive (tar); unpack it first."},
    {0, "\x1F\x8B"sv, kOtherKind, "The file is compressed; give its name the extension .gz."},
    {0, "\x1F\x9D"sv, kOtherKind, "The file is compressed; give its name the extension .Z."},
    {0, "BZh"sv, kOtherKind, "The file is compressed (bzip2); unpack it first."},
    {0,
     "\xFD"
     "7zXZ"sv,
     kOtherKind, "The file is compressed (xz); unpack it first."},
    {0, "<"sv, kOtherKind, "The file is a web page or XML."},
};

// The first line of a text that is nearly what is expected.
Sniffed SniffFirstLine(std::string_view line, std::string_view right) {
  const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
  const bool is_near = LowerCase(line.substr(first)).starts_with(LowerCase(right));
  if (!is_near || line == right) return {};
  return {"file-header", "The first line must be '" + std::string(right) + "' and nothing else."};
}

Sniffed SniffText(std::string_view start, FileKind expected) {
  const FileKind is = KindOfText(start);
  if (is == FileKind::Mapping && expected == FileKind::Model) {
    return {kOtherKind, "The file is a mapping; the model comes first, then the mapping."};
  }
  if (is == FileKind::Model && expected == FileKind::Mapping) {
    return {kOtherKind, "The file is a model; the model comes first, then the mapping."};
  }
  const std::size_t end = start.find_first_of("\r\n");
  if (end != std::string_view::npos && start[end] == '\r' && start.substr(end + 1, 1) != "\n") {
    return {kEncoding, "The lines end in carriage returns only; save it with line feeds."};
  }
  return SniffFirstLine(start.substr(0, end),
                        expected == FileKind::Model ? kBaModelFileId : kBaMappingFileId);
}

std::string StartOf(const std::string& file) {
  std::string start(kStartSize, '\0');
  const BtInputFile input(file.c_str());
  if (!input.isOpen()) return {};
  input.stream().read(start.data(), static_cast<std::streamsize>(start.size()));
  start.resize(static_cast<std::size_t>(input.stream().gcount()));
  return start;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A comma between digits.
bool HasDecimalComma(const Where& where) {
  if (where.line == 0) return false;
  const std::string& text = where.text;
  std::size_t comma = text.find(',');
  for (; comma != std::string::npos; comma = text.find(',', comma + 1)) {
    if (comma > 0 && IsDigit(text[comma - 1]) && comma + 1 < text.size() &&
        IsDigit(text[comma + 1]))
      return true;
  }
  return false;
}

}  // namespace

Sniffed Sniff(std::string_view start, FileKind expected) {
  if (start.empty()) return {"file-empty", "The file is empty."};
  for (const auto& row : kStarts) {
    if (start.size() >= row.at && start.substr(row.at).starts_with(row.bytes))
      return {row.code, row.text};
  }
  const bool has_nul = start.find('\0') != std::string_view::npos;
  if (has_nul) return {kOtherKind, "The file is not text."};
  return SniffText(start, expected);
}

void ExplainError(const std::string& file, FileKind expected, std::vector<Message>* messages) {
  const auto error = std::ranges::find(*messages, true, &Message::is_error);
  if (error == messages->end() || !CanBeOpened(file)) return;
  BtExcept* const kept = theExceptObj.release();
  Sniffed sniffed = Sniff(StartOf(error->where.file.empty() ? file : error->where.file), expected);
  const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
  theExceptObj.restore(kept);
  if (sniffed.code == nullptr && HasDecimalComma(error->where)) {
    sniffed = {"decimal-comma", "There is a decimal comma in this line; write a point."};
  }
  const std::size_t name = error->text.find("Unable to open ");
  if (sniffed.code == nullptr && name != std::string::npos &&
      error->text.find('\\', name) != std::string::npos) {
    sniffed = {"include-backslash", "There are backslashes in the name; write slashes."};
  }
  const bool is_count = error->text.find("Error reading body id") != std::string::npos ||
                        error->text.find("'{' following tag") != std::string::npos;
  if (sniffed.code == nullptr && expected == FileKind::Mapping && is_count) {
    error->text += " Is the number of body maps in the fourth line right?";
  }
  if (sniffed.code == nullptr) return;
  error->text.insert(0, sniffed.text + " ");
  error->code = sniffed.code;
}
