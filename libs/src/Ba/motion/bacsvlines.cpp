#include "bacsvlines.h"

#include <algorithm>
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

std::string_view WithoutFirstBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// Takes the rest of a field whose first quote was taken, and the blanks behind it, from the front
// of a line.
Ba_CsvFault_t TakeQuoted(std::string_view* line, std::string* field) {
  for (;;) {
    const std::size_t quote = line->find('"');
    *field += line->substr(0, quote);
    if (quote == std::string_view::npos) return Ba_CsvFault_t::NotClosed;
    line->remove_prefix(quote + 1);
    if (!line->starts_with('"')) break;
    *field += '"';
    line->remove_prefix(1);
  }
  *line = WithoutFirstBlanks(*line);
  return line->empty() || line->starts_with(',') ? Ba_CsvFault_t::None : Ba_CsvFault_t::TextBehind;
}

}  // namespace

Ba_CsvLines::Line Ba_CsvLines::_takePiece(bool* is_ended) {
  const char* begin = Bt_GetArea::next(_buf);
  const char* end = Bt_GetArea::end(_buf);
  const bool has_area = begin != end;
  if (!has_area) {
    _single = static_cast<char>(_buf->sbumpc());
    begin = &_single;
    end = begin + 1;
  }
  const void* const found = std::memchr(begin, '\n', static_cast<std::size_t>(end - begin));
  *is_ended = found != nullptr;
  const char* const line_end = *is_ended ? static_cast<const char*>(found) : end;
  if (has_area) Bt_GetArea::moveTo(_buf, *is_ended ? line_end + 1 : end);
  return {begin, line_end, end};
}

Ba_CsvLines::Next Ba_CsvLines::next(Line* line) {
  _pieces.clear();
  bool is_ended = false;
  while (!is_ended && _buf->sgetc() >= 0) {  // which fetches more text where none is left
    const Line piece = _takePiece(&is_ended);
    if (_pieces.size() + piece.view().size() > kMaxLength) {
      ++_number;
      return Next::TooLong;
    }
    if (is_ended && _pieces.empty()) {
      ++_number;
      SetLine(line, piece.begin, piece.end, piece.readable_end);
      return Next::Line;
    }
    _pieces += piece.view();
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

Ba_CsvFault_t Ba_SplitCsvLine(std::string_view line, std::vector<std::string>* fields) {
  fields->clear();
  for (;;) {
    std::string& field = fields->emplace_back();
    const std::string_view text = WithoutFirstBlanks(line);
    if (text.starts_with('"')) {
      line = text.substr(1);
      const Ba_CsvFault_t fault = TakeQuoted(&line, &field);
      if (fault != Ba_CsvFault_t::None) return fault;
    } else {
      const std::size_t comma = std::min(line.find(','), line.size());
      field = Ba_TrimBlanks(line.substr(0, comma));
      line.remove_prefix(comma);
    }
    if (line.empty()) return Ba_CsvFault_t::None;
    line.remove_prefix(1);  // the comma
  }
}
