// Reading motion from CSV files.
#include <charconv>
#include <cmath>
#include <cstring>

#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "Bt/btscan.h"
#include "bacsvlines.h"
#include "btfloattext.h"
#include "bttextfile.h"

namespace {

// The user is asked for a cancel after so many lines.
constexpr int kLinesPerQuestion = 4096;

// Times beyond this are no times of a recording, nor could animation programs count them.
constexpr double kMostSeconds = 1e8;

// What of a field an error shows.
constexpr std::size_t kMostShown = 40;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class FieldFault { None, Empty, NoNumber, NotFinite, TooLarge };

constexpr const char* kFieldFaults[] = {"", "the field is empty", "not a number",
                                        "not a finite number", "too large"};

bool IsDecimal(std::string_view text) {
  return text.find_first_not_of("0123456789+-.eE") == std::string_view::npos;
}

bool IsNoFiniteNumber(std::string_view text) {
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(c | 0x20);
  return lower == "nan" || lower == "inf" || lower == "infinity";
}

// The number that a whole field is, whatever form it has.
FieldFault ReadField(const std::string& field, double* number) {
  if (field.empty()) return FieldFault::Empty;
  if (IsNoFiniteNumber(field)) return FieldFault::NotFinite;
  char* end = nullptr;
  *number = BtStrToD(field.c_str(), &end);
  if (!IsDecimal(field) || end != field.c_str() + field.size()) return FieldFault::NoNumber;
  return std::isfinite(*number) ? FieldFault::None : FieldFault::TooLarge;
}

// A field as an error shows it: what is no plain text becomes "?", and the rest of a long one is
// left out.
std::string Shown(std::string_view field) {
  std::string shown(field.substr(0, kMostShown));
  for (char& c : shown) {
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = '?';
  }
  // No character of several bytes is cut in the middle.
  if (field.size() > kMostShown) {
    while (!shown.empty() && (static_cast<unsigned char>(field[shown.size()]) & 0xC0) == 0x80) {
      shown.pop_back();
    }
    shown += "...";
  }
  return shown;
}

// The variable that a column's name stands for, 0 where it is none.
int SysVarOf(std::string_view name) {
  if (name.starts_with('v')) name.remove_prefix(1);
  int id = 0;
  const char* const end = name.data() + name.size();
  const std::from_chars_result result = std::from_chars(name.data(), end, id);
  return result.ec == std::errc() && result.ptr == end && id > 0 ? id : 0;
}

// The text of a comment line.
std::string_view CommentOf(std::string_view line) {
  line.remove_prefix(line.starts_with("# ") ? 2 : 1);
  while (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// What the last digit of a number's text stands for.
double LastDecimal(std::string_view text) {
  const std::size_t e = std::min(text.find_first_of("eE"), text.size());
  const std::size_t point = std::min(text.find('.'), e);
  int exponent = 0;
  if (e < text.size()) {
    std::string_view digits = text.substr(e + 1);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
  }
  const auto decimals = static_cast<double>(point < e ? e - point - 1 : 0);
  return std::pow(10.0, exponent - decimals);
}

}  // namespace

class Ba_MotionReader {
 public:
  Ba_MotionReader(std::istream& is, const BtStr& name, const BaMotion::Reading& how,
                  BaMotion* motion)
      : _is(is), _lines(is), _name(name), _how(how), _motion(motion) {}

  // False with an error recorded, or without one where the stream went bad.
  bool read();

 private:
  using Line = Ba_CsvLines::Line;

  // Records an error about the line that was read last.
  bool _fail(const BtStr& text);
  bool _failField(std::size_t column, FieldFault fault, std::string_view field);
  bool _nextLine(Line* line, bool* is_end);
  bool _splitLine(std::string_view line);
  bool _readHeader();
  bool _readColumnNames(const std::vector<std::string>& names);
  bool _addColumn(std::size_t column, const std::string& name);
  bool _readRows();
  bool _readPlainRow(const Line& line);
  bool _readRow(const Line& line);
  bool _takeRow();
  bool _checkTime(double seconds);
  // The rate of frames that are counted.
  [[nodiscard]] double _frameRate() const {
    return _how.rate > 0 ? _how.rate : BaMotion::kDefaultRate;
  }
  void _noteDecimals(std::string_view time);

  const std::istream& _is;
  Ba_CsvLines _lines;
  BtStr _name;
  BaMotion::Reading _how;
  BaMotion* _motion;
  bool _is_frames = false;   // whether the first column counts frames
  std::vector<double> _row;  // the numbers of a line, the time first
  std::vector<double> _times;
  double _rounding = 1;  // what the last decimal of the times stands for
  std::vector<std::string> _fields;
};

bool Ba_MotionReader::_fail(const BtStr& text) {
  return BtFail(BtFormat("%s:%d: ", static_cast<const char*>(_name), _lines.number()) + text);
}

bool Ba_MotionReader::_failField(std::size_t column, FieldFault fault, std::string_view field) {
  const char* const time = _is_frames ? "frame" : "time";
  const BtStr which =
      column == 0 ? BtStr(time) : BtFormat("variable %d", _motion->sysVarIds()[column - 1]);
  const char* const what = kFieldFaults[static_cast<int>(fault)];
  if (fault == FieldFault::Empty)
    return _fail(BtFormat("%s: %s", static_cast<const char*>(which), what));
  return _fail(
      BtFormat("%s: %s: '%s'", static_cast<const char*>(which), what, Shown(field).c_str()));
}

bool Ba_MotionReader::_nextLine(Line* line, bool* is_end) {
  const Ba_CsvLines::Next next = _lines.next(line);
  *is_end = next == Ba_CsvLines::Next::End;
  if (*is_end && _is.bad()) return false;
  if (next == Ba_CsvLines::Next::TooLong) {
    return _fail(BtFormat("the line has more than %zu characters", Ba_CsvLines::kMaxLength));
  }
  return _lines.number() % kLinesPerQuestion != 0 || !theExceptObj.checkCancel();
}

bool Ba_MotionReader::read() {
  if (!_readHeader() || !_readRows()) return false;
  if (_times.empty()) return _fail("there are no frames behind the header line");
  _motion->_setTimes(std::move(_times), _is_frames ? _frameRate() : _how.rate,
                     _is_frames ? 0 : _rounding);
  return true;
}

bool Ba_MotionReader::_readHeader() {
  for (;;) {
    Line line;
    bool is_end = false;
    if (!_nextLine(&line, &is_end)) return false;
    if (is_end) return BtFail("%s: there is no header line", static_cast<const char*>(_name));
    std::string_view text = line.view();
    if (_lines.number() == 1 && text.starts_with(kByteOrderMark)) {
      text.remove_prefix(kByteOrderMark.size());
    }
    if (text.starts_with('#')) {
      _motion->_comments.emplace_back(CommentOf(text));
    } else if (!text.empty()) {
      return _splitLine(text) && _readColumnNames(_fields);
    }
  }
}

bool Ba_MotionReader::_splitLine(std::string_view line) {
  switch (Ba_SplitCsvLine(line, &_fields)) {
    case Ba_CsvFault_t::NotClosed:
      return _fail(BtFormat("column %zu: the quotes are not closed in this line", _fields.size()));
    case Ba_CsvFault_t::TextBehind:
      return _fail(BtFormat("column %zu: text follows the closing quote", _fields.size()));
    default:
      return true;
  }
}

bool Ba_MotionReader::_readColumnNames(const std::vector<std::string>& names) {
  _is_frames = names.front() == "frame";
  if (!_is_frames && names.front() != "time") {
    return _fail(
        BtFormat("the first column is '%s', not 'time' or 'frame'", Shown(names.front()).c_str()));
  }
  for (std::size_t column = 1; column < names.size(); ++column) {
    if (!_addColumn(column, names[column])) return false;
  }
  _row.resize(names.size());
  return true;
}

bool Ba_MotionReader::_addColumn(std::size_t column, const std::string& name) {
  const int id = SysVarOf(name);
  if (id == 0)
    return _fail(BtFormat("column %zu: '%s' is no variable", column + 1, Shown(name).c_str()));
  if (id > _how.highest_sysvar_id) {
    return _fail(BtFormat("column %zu: variable %d is above %d, the highest of the mapping",
                          column + 1, id, _how.highest_sysvar_id));
  }
  if (_motion->_addColumn(id) >= 0) return true;
  return _fail(BtFormat("column %zu: variable %d has column %d already", column + 1, id,
                        _motion->_column(id) + 2));
}

bool Ba_MotionReader::_readRows() {
  for (;;) {
    Line line;
    bool is_end = false;
    if (!_nextLine(&line, &is_end)) return false;
    if (is_end) return true;
    if (line.begin == line.end) continue;
    if (!_readPlainRow(line) && !_readRow(line)) return false;
    if (!_takeRow()) return false;
  }
}

// Reads a line of plain numbers; false for any other, without a word.
bool Ba_MotionReader::_readPlainRow(const Line& line) {
  const char* p = line.begin;
  const std::size_t count = _row.size();
  for (std::size_t column = 0; column < count; ++column) {
    const char* const after = BtParseDouble(p, line.readable_end, &_row[column]);
    if (after == nullptr) return false;
    const bool is_last = column + 1 == count;
    if (is_last ? after != line.end : *after != ',') return false;
    if (column == 0) _noteDecimals({p, static_cast<std::size_t>(after - p)});
    p = after + 1;
  }
  return true;
}

bool Ba_MotionReader::_readRow(const Line& line) {
  if (!_splitLine(line.view())) return false;
  if (_fields.size() != _row.size()) {
    return _fail(
        BtFormat("the line has %zu fields, the header line %zu", _fields.size(), _row.size()));
  }
  for (std::size_t column = 0; column < _fields.size(); ++column) {
    const FieldFault field_fault = ReadField(_fields[column], &_row[column]);
    if (field_fault != FieldFault::None) return _failField(column, field_fault, _fields[column]);
  }
  _noteDecimals(_fields.front());
  return true;
}

void Ba_MotionReader::_noteDecimals(std::string_view time) {
  if (_is_frames || _rounding < 1e-15) return;
  _rounding = std::min(_rounding, LastDecimal(time));
}

bool Ba_MotionReader::_takeRow() {
  const double seconds = _is_frames ? _row[0] / _frameRate() : _row[0];
  if (!_checkTime(seconds)) return false;
  _times.push_back(seconds);
  for (std::size_t column = 1; column < _row.size(); ++column) {
    float value = 0;
    if (!BtNarrow(_row[column], &value)) {
      return _failField(column, FieldFault::TooLarge, BtFormat("%g", _row[column]).view());
    }
    _motion->_values[column - 1].push_back(value);
  }
  return true;
}

bool Ba_MotionReader::_checkTime(double seconds) {
  if (std::abs(seconds) > kMostSeconds) {
    return _failField(0, FieldFault::TooLarge, BtFormat("%g", _row[0]).view());
  }
  if (_times.size() == static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return _fail(BtFormat("there are more than %zu frames", _times.size()));
  }
  if (_times.empty() || seconds > _times.back()) return true;
  return _fail(
      BtFormat("%s: %.10g is not after the line before", _is_frames ? "frame" : "time", _row[0]));
}

bool BaMotion::scanFrom(std::istream& is, const BtStr& name, const Reading& how) {
  clear();
  BaMotion motion;
  if (Ba_MotionReader(is, name, how, &motion).read()) {
    *this = std::move(motion);
    return true;
  }
  if (is.bad()) theExceptObj.set("%s: reading failed", static_cast<const char*>(name));
  return false;
}

bool BaMotion::read(const BtStr& file, const Reading& how) {
  clear();
  BtInputFile input(file);
  if (!input.isOpen()) return BtFail("Unable to open file '%s'.", static_cast<const char*>(file));
  BaMotion motion;
  const bool scanned = Ba_MotionReader(input.stream(), file, how, &motion).read();
  const bool was_told = !scanned && BtError();
  if (input.close() && scanned) {
    *this = std::move(motion);
    return true;
  }
  if (!was_told) theExceptObj.set("Unable to read file '%s'.", static_cast<const char*>(file));
  return false;
}
