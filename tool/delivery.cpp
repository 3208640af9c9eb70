#include "delivery.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>

#include "Bt/btexcept.h"
#include "bttextfile.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kModelEnd = ".mdl";
constexpr std::string_view kMappingEnd = ".dof";
constexpr std::array kKindEnds = {kModelEnd, kMappingEnd, std::string_view(".fbx")};
constexpr std::array<std::string_view, 3> kPackedEnds = {"", ".gz", ".Z"};

// The name without its extension and that of a compression; nothing for another kind of file.
std::optional<std::string> StemOf(const std::string& name, std::string_view end) {
  for (const std::string_view packed : kPackedEnds) {
    const std::string whole = std::string(end).append(packed);
    if (name.size() > whole.size() && name.ends_with(whole)) {
      return name.substr(0, name.size() - whole.size());
    }
  }
  return {};
}

// The files below a folder, by their names in it. Hidden ones do not count.
bool FilesBelow(const std::string& folder, std::vector<std::string>* names) {
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    const bool is_hidden = entry->path().filename().string().starts_with('.');
    if (is_hidden) {
      entry.disable_recursion_pending();
    } else if (!entry->is_directory(error)) {
      names->push_back(entry->path().lexically_relative(folder).string());
    }
  }
  std::ranges::sort(*names);
  return !error ||
         BtFail("Unable to read the folder '%s': %s.", folder.c_str(), error.message().c_str());
}

bool ReadFolder(const std::string& folder, std::vector<DeliveredCharacter>* characters) {
  std::vector<std::string> names;
  if (!FilesBelow(folder, &names)) return false;
  std::map<std::string, std::string> mappings;
  for (const std::string& name : names) {
    if (const auto stem = StemOf(name, kMappingEnd)) mappings[*stem] = (fs::path(folder) / name);
  }
  for (const std::string& name : names) {
    if (const auto stem = StemOf(name, kModelEnd)) {
      characters->push_back({*stem, fs::path(folder) / name, mappings[*stem], {}});
    }
  }
  return true;
}

// Text of values between commas, with quotes around those that hold commas, quotes or line ends.
class TableText {
 public:
  explicit TableText(std::string text) : _text(std::move(text)) {
    if (_text.starts_with("\xEF\xBB\xBF")) _at = 3;
  }
  [[nodiscard]] bool atEnd() const { return _at >= _text.size(); }
  // The line that is read next, from 1.
  [[nodiscard]] int line() const { return _line; }
  std::vector<std::string> row() {
    std::vector<std::string> values;
    do {
      values.push_back(_value());
    } while (!atEnd() && _text[_at++] == ',');
    ++_line;
    return values;
  }

 private:
  // Stops in front of a comma or a line end.
  std::string _value() {
    std::string value;
    while (!atEnd() && _text[_at] != ',' && _text[_at] != '\n') {
      const char c = _text[_at++];
      if (c == '"') {
        _addQuoted(&value);
      } else {
        value += c;
      }
    }
    const auto first = value.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return value.substr(first, value.find_last_not_of(" \t\r") + 1 - first);
  }
  // From behind the opening quote to behind the closing one; two quotes stand for one.
  void _addQuoted(std::string* value) {
    for (; !atEnd(); ++_at) {
      const char c = _text[_at];
      if (c == '"' && _text.compare(_at + 1, 1, "\"") != 0) break;
      if (c == '"') ++_at;
      if (c == '\n') ++_line;
      *value += c;
    }
    if (!atEnd()) ++_at;
  }

  std::string _text;
  std::size_t _at = 0;
  int _line = 1;
};

constexpr std::array<std::string_view, 4> kColumns = {"model", "dof", "options", "output"};

// The values of a row by the columns that there are.
class TableRow {
 public:
  TableRow(const std::vector<std::string>& columns, const std::vector<std::string>& values)
      : _columns(columns), _values(values) {}
  [[nodiscard]] std::string operator[](std::string_view column) const {
    const auto found = std::ranges::find(_columns, column);
    const auto i = static_cast<std::size_t>(found - _columns.begin());
    return i < _values.size() ? _values[i] : std::string();
  }

 private:
  const std::vector<std::string>& _columns;
  const std::vector<std::string>& _values;
};

DeliveredCharacter CharacterOf(const TableRow& row, const fs::path& folder) {
  DeliveredCharacter character;
  const std::string output = row["output"];
  const std::string model = row["model"];
  character.name = output.empty() ? StemOf(fs::path(model).filename(), kModelEnd).value_or(model)
                                  : StemOf(output, ".fbx").value_or(output);
  character.model = folder / model;
  if (const std::string dof = row["dof"]; !dof.empty()) character.dof = folder / dof;
  std::istringstream words(row["options"]);
  for (std::string word; words >> word;) character.options.push_back(word);
  return character;
}

bool ReadTable(const std::string& file, std::vector<DeliveredCharacter>* characters) {
  BtInputFile input(file.c_str());
  if (!input.isOpen()) return BtFail("Unable to open '%s'.", file.c_str());
  TableText text({std::istreambuf_iterator<char>(input.stream()), {}});
  if (!input.close()) return BtFail("Unable to read '%s'.", file.c_str());
  const std::vector<std::string> columns = text.row();
  for (const std::string& column : columns) {
    if (std::ranges::find(kColumns, column) == kColumns.end()) {
      return BtFail("%s:1: There is no column '%s': expecting model, dof, options and output.",
                    file.c_str(), column.c_str());
    }
  }
  while (!text.atEnd()) {
    const int line = text.line();
    const std::vector<std::string> values = text.row();
    if (std::ranges::all_of(values, &std::string::empty)) continue;
    const TableRow row(columns, values);
    if (row["model"].empty() || values.size() > columns.size()) {
      return BtFail("%s:%d: Expecting a model, and no more values than columns.", file.c_str(),
                    line);
    }
    characters->push_back(CharacterOf(row, fs::path(file).parent_path()));
  }
  return true;
}

}  // namespace

bool IsDelivery(const std::string& path) {
  std::error_code ignored;
  return path.ends_with(".csv") || fs::is_directory(path, ignored);
}

bool ReadDelivery(const std::string& path, std::vector<DeliveredCharacter>* characters) {
  const bool read =
      path.ends_with(".csv") ? ReadTable(path, characters) : ReadFolder(path, characters);
  if (!read) return false;
  return !characters->empty() || BtFail("There are no models in '%s'.", path.c_str());
}

namespace {

bool ReadFilesOfTable(const std::string& path, std::vector<DeliveredFile>* files) {
  std::vector<DeliveredCharacter> characters;
  if (!ReadDelivery(path, &characters)) return false;
  for (const DeliveredCharacter& character : characters) {
    files->push_back({character.name + ".mdl", character.model});
    if (!character.dof.empty()) files->push_back({character.name + ".dof", character.dof});
  }
  return true;
}

}  // namespace

bool ReadDeliveredFiles(const std::string& path, std::vector<DeliveredFile>* files) {
  if (path.ends_with(".csv")) return ReadFilesOfTable(path, files);
  std::vector<std::string> names;
  if (!FilesBelow(path, &names)) return false;
  for (const std::string& name : names) {
    for (const std::string_view end : kKindEnds) {
      if (const auto stem = StemOf(name, end)) {
        files->push_back({std::string(*stem).append(end), fs::path(path) / name});
      }
    }
  }
  return !files->empty() ||
         BtFail("There are no models, mappings or FBX files in '%s'.", path.c_str());
}
