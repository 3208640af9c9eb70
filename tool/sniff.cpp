#include "sniff.h"

#include <algorithm>

#include "bamodelheader.h"
#include "style.h"

namespace {

using namespace std::string_view_literals;

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
    {0, "version https://git-lfs"sv, kOtherKind,
     "The file is a pointer of Git LFS; fetch the file that it stands for."},
    {0, "<<<<<<< "sv, "merge-conflict", "A merge was left unfinished here."},
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

}  // namespace

Sniffed Sniff(std::string_view start, FileKind expected) {
  if (start.empty()) return {"file-empty", "The file is empty."};
  for (const auto& row : kStarts) {
    if (start.size() >= row.at && start.substr(row.at).starts_with(row.bytes))
      return {row.code, row.text};
  }
  const std::size_t first = start.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && start[first] == '<') {
    return {kOtherKind, "The file is a web page or XML."};
  }
  const bool has_nul =
      KindOfText(start) == FileKind::Unknown && start.find('\0') != std::string_view::npos;
  if (has_nul) return {kOtherKind, "The file is not text."};
  return SniffText(start, expected);
}
