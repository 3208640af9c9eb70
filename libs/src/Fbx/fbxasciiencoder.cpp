#include "fbxasciiencoder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <string>

#include "btassert.h"
#include "btexcept.h"
#include "fbxbinarylayout.h"
#include "fbxoutputfile.h"
#include "fbxsourcefile.h"

namespace {

// How many numbers of a list make one thing. Each thing has a line, so that a comparison of two
// files shows the points and polygons that differ. Readers recognise a line that goes on with a
// list by the comma before it and by its lack of an indentation.
struct Row {
  std::string_view list;
  int numbers;
};
constexpr int kUpToNegative = 0;  // a polygon: its last index is stored below 0
constexpr Row kRows[] = {
    {"Vertices", 3},
    {"Normals", 3},
    {"UV", 2},
    {"Matrix", 4},
    {"Transform", 4},
    {"TransformLink", 4},
    {"PolygonVertexIndex", kUpToNegative},
};

int NumbersOfRow(std::string_view list) {
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                 [&](const Row& r) { return r.list == list; });
  return row == std::end(kRows) ? 1 : row->numbers;
}

// Characters that would end a text or a line.
struct Escape {
  char character;
  std::string_view text;
};
constexpr Escape kEscapes[] = {{'"', "&quot;"}, {'\n', "&lf;"}, {'\r', "&cr;"}};

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

FbxAsciiEncoder::FbxAsciiEncoder(FbxOutputFile* file, std::int32_t version)
    : _file(file), _version(version) {
  // Readers look for the version in this line.
  _write("; FBX " + std::to_string(version / 1000) + "." + std::to_string(version / 100 % 10) +
         ".0 project file\n; " + std::string(52, '-') + "\n\n");
}

bool FbxAsciiEncoder::ok() const { return _file->ok(); }

void FbxAsciiEncoder::_write(std::string_view text) { _file->write(text.data(), text.size()); }

void FbxAsciiEncoder::_indent(std::size_t depth) {
  for (std::size_t i = 0; i < depth; ++i) _write("\t");
}

void FbxAsciiEncoder::begin(std::string_view name) {
  BtAssert(_open.empty() || _open.back().has_list);
  _indent(_open.size());
  _write(name);
  _write(": ");
  _open.push_back({NumbersOfRow(name), false, false});
}

void FbxAsciiEncoder::list() {
  _write(" {\n");
  _open.back().has_list = true;
}

void FbxAsciiEncoder::end() {
  const bool has_list = _open.back().has_list;
  _open.pop_back();
  if (has_list) {
    _indent(_open.size());
    _write("}");
  }
  _write("\n");
}

void FbxAsciiEncoder::_beginValue(std::string_view separator) {
  OpenRecord& record = _open.back();
  BtAssert(!record.has_list);
  if (record.has_values) _write(separator);
  record.has_values = true;
}

void FbxAsciiEncoder::_beginText() {
  // Readers split records at these very characters.
  _beginValue(", ");
  _write("\"");
}

template <class T>
void FbxAsciiEncoder::_writeNumber(T number) {
  // The shortest text that reads back to the same bits.
  std::array<char, 40> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
  _file->write(text.data(), static_cast<std::size_t>(result.ptr - text.data()));
}

void FbxAsciiEncoder::add(char value) {
  _beginValue();
  _file->write(&value, 1);
}

void FbxAsciiEncoder::add(std::int32_t value) {
  _beginValue();
  _writeNumber(value);
}

void FbxAsciiEncoder::add(std::int64_t value) {
  _beginValue();
  _writeNumber(value);
}

void FbxAsciiEncoder::add(double value) {
  _beginValue();
  _writeNumber(value);
}

void FbxAsciiEncoder::add(std::string_view text) {
  _beginText();
  _writeEscaped(text);
  _write("\"");
}

void FbxAsciiEncoder::add(const FbxObjectName& name) {
  _beginText();
  _write(name.type);
  _write("::");
  _writeEscaped(name.name);
  _write("\"");
}

void FbxAsciiEncoder::_writeEscaped(std::string_view text) {
  for (const char& c : text) {
    const auto* escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                      [c](const Escape& e) { return e.character == c; });
    _write(escape == std::end(kEscapes) ? std::string_view(&c, 1) : escape->text);
  }
}

void FbxAsciiEncoder::add(std::span<const double> values) { _addList(values); }

void FbxAsciiEncoder::add(std::span<const std::int32_t> values) { _addList(values); }

void FbxAsciiEncoder::add(std::span<const std::int64_t> values) { _addList(values); }

void FbxAsciiEncoder::add(std::span<const float> values) { _addList(values); }

void FbxAsciiEncoder::addKeys(std::span<const std::int64_t> times, std::span<const float> values) {
  BtAssert(times.size() == values.size());
  for (std::size_t i = 0; i < times.size() && _file->ok(); ++i) {
    _beginValue(",\n");
    _writeNumber(times[i]);
    _write(",");
    _writeNumber(values[i]);
    _write(",");
    _file->write(&kFbxLinearKey, 1);
  }
}

template <class T>
void FbxAsciiEncoder::_addList(std::span<const T> values) {
  const bool has_length = _version >= kFbxFirstArrayVersion;
  if (has_length) {
    _beginValue();
    _write("*");
    _writeNumber(values.size());
    _write(" {\n");
    _indent(_open.size());
    _write("a: ");
  } else if (!values.empty()) {
    _beginValue();
  }
  const int row = _open.back().row;
  std::string_view separator;
  int count = 0;
  for (const T& value : values) {
    _write(separator);
    _writeNumber(value);
    const bool ends_row = row == kUpToNegative ? value < 0 : ++count % row == 0;
    if (ends_row && !_file->ok()) return;
    separator = ends_row ? ",\n" : ",";
  }
  if (!has_length) return;
  _write("\n");
  _indent(_open.size() - 1);
  _write("}");
}

void FbxAsciiEncoder::_writeBase64(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const std::size_t count = std::min<std::size_t>(bytes.size(), 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (i < count ? bytes[i] : std::uint32_t{0});
    }
    std::array<char, 4> text;
    for (std::size_t i = 0; i < 4; ++i) {
      text[i] = i <= count ? kBase64[group >> (18 - 6 * i) & 63] : '=';
    }
    _file->write(text.data(), text.size());
    bytes = bytes.subspan(count);
  }
}

void FbxAsciiEncoder::_beginRaw() {
  _beginValue();
  // Raw data stands on a line of its own behind an empty value.
  _write(",\n");
  _indent(_open.size());
  _write("\"");
}

void FbxAsciiEncoder::addRaw(std::span<const std::uint8_t> bytes) {
  _beginRaw();
  _writeBase64(bytes);
  _write("\"");
}

void FbxAsciiEncoder::addFile(FbxSourceFile& file) {
  // Base64 turns groups of three bytes into text, so no group may be cut before the end.
  constexpr std::size_t kBlock = std::size_t{3} << 16;
  std::vector<char> buffer(kBlock);
  std::size_t held = 0;
  std::ptrdiff_t count = 0;
  const auto bytes = [&](std::size_t size) {
    return std::span(reinterpret_cast<const std::uint8_t*>(buffer.data()), size);
  };
  _beginRaw();
  while (_file->ok() && (count = file.read(std::span(buffer).subspan(held))) > 0) {
    held += static_cast<std::size_t>(count);
    if (held < kBlock) continue;
    _writeBase64(bytes(held));
    held = 0;
  }
  _writeBase64(bytes(held));
  _write("\"");
  if (count >= 0) return;
  theExceptObj.set("Unable to read '%s': %s.", file.name().c_str(), file.reason());
  _file->abandon();
}
