#include "bacsvlines.h"

#include <cstring>

#include "Bt/btscan.h"

namespace {

// Line ends behind a line that stands alone, as many as number parsers like to look at.
constexpr char kBehindLine[] = "\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n";

// `behind` is where the line end stands.
void SetLine(Ba_CsvLines::Line* line, const char* begin, const char* behind,
             const char* readable_end) {
  if (behind != begin && behind[-1] == '\r') --behind;
  *line = {begin, behind, readable_end};
}

}  // namespace

Ba_CsvLines::Next Ba_CsvLines::next(Line* line) {
  _pieces.clear();
  for (;;) {
    if (_buf->sgetc() < 0) break;  // fetches more text where none is left
    const char* const begin = Bt_GetArea::next(_buf);
    const char* const end = Bt_GetArea::end(_buf);
    const auto size = static_cast<std::size_t>(end - begin);
    const auto* const line_end = static_cast<const char*>(std::memchr(begin, '\n', size));
    Bt_GetArea::moveTo(_buf, line_end == nullptr ? end : line_end + 1);
    if (_pieces.size() + (line_end == nullptr ? size : static_cast<std::size_t>(line_end - begin)) >
        kMaxLength) {
      ++_number;
      return Next::TooLong;
    }
    if (line_end != nullptr && _pieces.empty()) {
      ++_number;
      SetLine(line, begin, line_end, end);
      return Next::Line;
    }
    _pieces.append(begin, line_end == nullptr ? end : line_end);
    if (line_end != nullptr) break;
  }
  // What was cut off by a read error is no line.
  if (_pieces.empty() || _is.bad()) return Next::End;
  ++_number;
  const std::size_t size = _pieces.size();
  _pieces += kBehindLine;
  SetLine(line, _pieces.data(), _pieces.data() + size, _pieces.data() + _pieces.size());
  return Next::Line;
}

std::string_view Ba_TrimBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

Ba_CsvFault Ba_SplitCsvLine(std::string_view line, std::vector<std::string>* fields) {
  fields->clear();
  for (;;) {
    std::string& field = fields->emplace_back();
    std::size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
    if (begin < line.size() && line[begin] == '"') {
      line.remove_prefix(begin + 1);
      for (;;) {
        const std::size_t quote = line.find('"');
        field += line.substr(0, quote);
        if (quote == std::string_view::npos) return Ba_CsvFault::NotClosed;
        line.remove_prefix(quote + 1);
        if (!line.starts_with('"')) break;
        field += '"';
        line.remove_prefix(1);
      }
      begin = std::min(line.find_first_not_of(" \t"), line.size());
      if (begin < line.size() && line[begin] != ',') return Ba_CsvFault::TextBehind;
      line.remove_prefix(begin);
    } else {
      const std::size_t comma = std::min(line.find(','), line.size());
      field = Ba_TrimBlanks(line.substr(0, comma));
      line.remove_prefix(comma);
    }
    if (line.empty()) return Ba_CsvFault::None;
    line.remove_prefix(1);  // the comma
  }
}
