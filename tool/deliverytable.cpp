#include "deliverytable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iostream>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>

#include "Bt/btexcept.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsdkmanager.h"
#include "bttextfile.h"
#include "delivery.h"
#include "options.h"
#include "save.h"
#include "scene.h"

namespace {

// Text of values between commas, with quotes around those that hold commas, quotes or line ends.
class TableText {
 public:
  explicit TableText(std::string text) : _text(std::move(text)) {
    if (_text.starts_with("\xEF\xBB\xBF")) _at = 3;
  }
  [[nodiscard]] bool atEnd() const { return _at >= _text.size(); }
  // The line that is read next, from 1.
  [[nodiscard]] int line() const { return _line; }
  // Whether the last quote of the text is one that opens.
  [[nodiscard]] bool isQuoteOpen() const { return _is_quote_open; }
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
    _is_quote_open = atEnd();
    if (!atEnd()) ++_at;
  }

  std::string _text;
  std::size_t _at = 0;
  int _line = 1;
  bool _is_quote_open = false;
};

constexpr struct {
  const char* name;
  std::string DeliveryRow::*value;
} kColumns[] = {{"model", &DeliveryRow::model},
                {"dof", &DeliveryRow::dof},
                {"options", &DeliveryRow::options},
                {"output", &DeliveryRow::output}};

using Columns = std::vector<std::string DeliveryRow::*>;

// What the titles stand for; what is wrong with them, empty where nothing is.
std::string ReadTitles(const std::vector<std::string>& titles, Columns* columns) {
  for (const std::string& title : titles) {
    const auto column =
        std::ranges::find(kColumns, title, [](const auto& row) { return row.name; });
    if (column != std::end(kColumns)) {
      columns->push_back(column->value);
    } else if (title.find_first_of(";\t") != std::string::npos) {
      return "Expecting commas between the columns.";
    } else if (title.empty()) {
      return "A column has no title: expecting model, dof, options and output.";
    } else {
      return "There is no column '" + title + "': expecting model, dof, options and output.";
    }
  }
  const bool has_models = std::ranges::count(*columns, &DeliveryRow::model) > 0;
  return has_models ? "" : "The column 'model' is missing.";
}

// The scale factor in the digits that it was given in.
double ShortestDouble(float number) {
  std::array<char, 32> text = {};
  const char* const end = std::to_chars(text.begin(), text.end(), number).ptr;
  double value = 0;
  std::from_chars(text.data(), end, value);
  return value;
}

bool IsRelease(const BtStr& mb_version) {
  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  return FindMotionBuilderWriter(manager, mb_version, false).index >= 0;
}

}  // namespace

bool ReadDeliveryRows(const std::string& file, std::vector<DeliveryRow>* rows) {
  BtInputFile input(file.c_str());
  if (!input.isOpen()) return BtFail("Unable to open '%s'.", file.c_str());
  TableText text({std::istreambuf_iterator<char>(input.stream()), {}});
  if (!input.close()) return BtFail("Unable to read '%s'.", file.c_str());
  Columns columns;
  int line = text.line();
  std::string fault = ReadTitles(text.row(), &columns);
  while (fault.empty() && !text.atEnd()) {
    line = text.line();
    const std::vector<std::string> values = text.row();
    if (text.isQuoteOpen()) fault = "A quote is opened that nothing closes.";
    if (std::ranges::all_of(values, &std::string::empty)) continue;
    DeliveryRow row = {line, {}, {}, {}, {}};
    for (std::size_t i = 0; i < std::min(values.size(), columns.size()); ++i) {
      row.*columns[i] = values[i];
    }
    if (values.size() > columns.size()) fault = "There are more values than columns.";
    rows->push_back(std::move(row));
  }
  return fault.empty() || BtFail("%s:%d: %s", file.c_str(), line, fault.c_str());
}

std::string ReadConversionOptions(const std::string& options, DeliveredCharacter* character) {
  std::istringstream words(options);
  character->options.assign(std::istream_iterator<std::string>(words), {});
  std::vector<std::string> line = character->options;
  line.insert(line.begin(), "kestrix");
  const char* const file = "file";
  line.insert(line.end(), {file, file, file});
  std::vector<char*> argv;
  argv.reserve(line.size());
  for (std::string& word : line) argv.push_back(word.data());
  std::ostringstream fault;
  std::streambuf* const printed = std::cerr.rdbuf(fault.rdbuf());
  Settings settings;
  const bool good = ParseOptions(static_cast<int>(argv.size()), argv.data(), &settings);
  std::cerr.rdbuf(printed);
  const std::string word(settings.model_file.view());
  if (!word.empty() && word != file) return "In the options: Unexpected parameter '" + word + "'.";
  if (!good) return "In the options: " + fault.str();
  if (!IsRelease(settings.mb_version)) {
    return "In the options: There is no release '" + std::string(settings.mb_version.view()) + "'.";
  }
  const bool is_scaled = std::ranges::count(character->options, "-scale_factor") > 0;
  if (is_scaled) character->scale_factor = ShortestDouble(settings.scale_factor);
  character->mesh_per_body = settings.mesh_per_body;
  return {};
}
