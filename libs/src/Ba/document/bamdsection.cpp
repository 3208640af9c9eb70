#include "bamdsection.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>
#include <vector>

#include "Bt/btscan.h"

bool BaFailUnknownKey(std::string_view key) {
  return BtFail("Unrecognized key word \"" + BtStr(key) + "\".");
}

bool BaFailUnwritable(const BtStr& text) {
  return BtFail("The name \"" + BaShown(text) + "\" cannot be written to a model document.");
}

void BaWarnOfRepeat(std::string_view key) {
  if (BtError()) return;  // which is told instead
  theExceptObj.setAsWarning(BtStr(key) + " is given more than once.  What it says last counts.");
}

bool BaAtEnd(std::string_view text) { return std::all_of(text.begin(), text.end(), BtIsSpace); }

bool BaHoldsSpace(std::string_view text) {
  return std::any_of(text.begin(), text.end(), BtIsSpace);
}

bool BaLines::next(std::string_view* line) {
  constexpr std::string_view kSpace = " \t\r\v\f";
  while (!_rest.empty()) {
    const std::size_t end = std::min(_rest.find('\n'), _rest.size());
    *line = _rest.substr(0, end);
    _rest.remove_prefix(std::min(end + 1, _rest.size()));
    line->remove_prefix(std::min(line->find_first_not_of(kSpace), line->size()));
    line->remove_suffix(line->size() - (line->find_last_not_of(kSpace) + 1));
    if (!line->empty()) return true;
  }
  return false;
}

bool BaReadInt(const BaMDItem& item, int* value) {
  std::string_view text = item.value;
  return item.single_line && BtReadInt(&text, value) && BaAtEnd(text);
}

bool BaReadFloat(const BaMDItem& item, float* value) {
  std::string_view text = item.value;
  return item.single_line && BtReadFloat(&text, value) && BaAtEnd(text);
}

bool BaReadFloatArray(const BaMDItem& item, BtFloatArray* values) {
  if (!item.single_line) return false;
  std::vector<float> read;
  std::string_view text = item.value;
  while (!BaAtEnd(text)) {
    float value = 0;
    if (!BtReadFloat(&text, &value)) return false;
    read.push_back(value);
  }
  values->clear();
  values->resize(SizeTToInt(read.size()));
  std::copy(read.begin(), read.end(), values->begin());
  return true;
}

bool BaReadName(const BaMDItem& item, const char* spaces_message, BtStr* name) {
  if (!item.single_line || item.value.empty()) return false;
  if (BaHoldsSpace(item.value)) {
    return spaces_message != nullptr && BtFail("%s", spaces_message);
  }
  *name = BtStr(item.value);
  return true;
}

void BaPrintFloat(std::ostream& os, float value) {
  char text[512];
  // Streams count a precision of 0 as 1 and never need more digits than a float has.
  const int precision = static_cast<int>(std::clamp<std::streamsize>(os.precision(), 1, 200));
  const std::to_chars_result end =
      std::to_chars(text, text + sizeof(text), value, std::chars_format::general, precision);
  os.write(text, end.ptr - text);
}

void BaPrintInt(std::ostream& os, int value) {
  char text[16];
  const std::to_chars_result end = std::to_chars(text, text + sizeof(text), value);
  os.write(text, end.ptr - text);
}

void BaPrintFloats(std::ostream& os, std::span<const float> values) {
  const char* separator = "";
  for (const float value : values) {
    os << separator;
    BaPrintFloat(os, value);
    separator = " ";
  }
}

bool BaPrintNumbers(std::ostream& os, std::span<const float> values) {
  if (!std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); }))
    return BtFail("A number that is not finite cannot be written to a model document.");
  BaPrintFloats(os, values);
  return true;
}

bool BaPrintName(std::ostream& os, const char* key, const BtStr& name) {
  if (name.length() == 0 || BaHoldsSpace(name.view())) return BaFailUnwritable(name);
  return BaPrintText(os, key, name);
}

bool BaPrintText(std::ostream& os, const char* key, const BtStr& text) {
  const std::string_view view = text.view();
  const std::string_view first = view.substr(0, view.find('\n'));
  const bool closes = first.find_first_of("#}") != std::string_view::npos;
  const bool trimmed = !view.empty() && (BtIsSpace(view.front()) || BtIsSpace(view.back()));
  if (closes || trimmed || first.ends_with('{') || view.ends_with('\\'))
    return BaFailUnwritable(text);
  os << key << BtStr(text).replaceAll("\n", "\\\n") << '\n';
  return true;
}

bool BaCheckWritten(const std::ostream& os, const char* message) {
  return os.good() || BtFail("%s", message);
}
