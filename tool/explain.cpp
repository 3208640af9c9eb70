#include "explain.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <sstream>

#include "Bt/btexcept.h"
#include "bamodelheader.h"
#include "sniff.h"
#include "style.h"

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kStartSize = 512;
constexpr std::size_t kMostQuoted = 40;  // bytes of a word or a line

// What stands in files that something went wrong with, anywhere in them.
constexpr struct {
  std::string_view bytes;
  std::size_t fault_at;  // in them
  const char* code;
  const char* text;
} kDamages[] = {
    {"\n<<<<<<< "sv, 1, "merge-conflict", "A merge was left unfinished here."},
    {"\0\0\0\0"sv, 0, "file-damaged", "There are NUL bytes here."},
    {".#QNAN"sv, 0, "number-missing", "This is no number: a computation failed."},
    {".#IND"sv, 0, "number-missing", "This is no number: a computation failed."},
    {".#INF"sv, 0, "number-missing", "This is no number: a computation failed."},
};

// What to do about errors whose texts do not tell it.
constexpr struct {
  std::string_view words;
  const char* hint;
} kHints[] = {
    {"Invalid datafile type", "The first line must be 'Zov Graphic Model File'."},
    {"Invalid datafile header id", "The first line must be 'Zov Graphic Mapping File'."},
    {"Version identifier not found", "The second line must be v1.30 or v2.00."},
    {"Unsupported datafile version", "It stands in the second line."},
    {"datafile version number", "It stands in the second line, such as v1.0."},
    {"number of bodies",
     "The third line is the number of variables, the fourth that of body maps."},
    {"Unsupported LENGTH units",
     "INCHES and METERS are read, with a factor: LENGTH: 0.01 METERS is for centimetres."},
    {"Unsupported ANGLE units", "DEGREES and RADIANS are read."},
    {"scale factor.", "It must be a number above 0."},
    {"rotation order has not", "Behind the three angles stand X, Y and Z, as capital letters."},
    {"No value given", "Three numbers are expected, and behind angles X, Y and Z."},
    {"has invalid characters", "A name must not hold blanks."},
    {"following tag '}'", "There is a closing brace too many in front of it."},
    {"No ':' or '{'", "A key word ends in a colon, or is followed by { in the same line."},
    {"Indices must be greater", "The first one is 1."},
    {"Unable to read delimiter", "Each corner is a pair: 3/7 is vertex 3, texture coordinate 7."},
    {"in linear combination",
     "It is written as -(n + 1), a constant, and n pairs of variable and factor."},
    {"Invalid slider name", "Name it in a SLIDER_GROUP."},
    {"transformation type",
     "A body's id is followed by the numbers 1 to 6 in some order, then by "
     "six variables, constants or combinations."},
};

// Hints for mappings.
constexpr std::string_view kCountFaults[] = {"Error reading body id", "'{' following tag"};
constexpr std::string_view kShifted[] = {"Invalid body id", "transformation type"};

bool Holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

template <std::size_t kCount>
bool HoldsOneOf(std::string_view text, const std::string_view (&parts)[kCount]) {
  return std::ranges::any_of(parts, [text](std::string_view part) { return Holds(text, part); });
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A comma between digits.
bool HasDecimalComma(std::string_view line) {
  for (std::size_t comma = line.find(','); comma != std::string_view::npos;
       comma = line.find(',', comma + 1)) {
    if (comma > 0 && comma + 1 < line.size() && IsDigit(line[comma - 1]) &&
        IsDigit(line[comma + 1]))
      return true;
  }
  return false;
}

bool IsNoNumber(std::string_view word) {
  constexpr std::string_view kWords[] = {"nan", "inf", "infinity"};
  word.remove_prefix(std::min(word.find_first_not_of("+-"), word.size()));
  const std::string lower = LowerCase(word);
  return lower.starts_with("nan(") || std::ranges::count(kWords, lower) > 0;
}

// Behind a key word.
bool HasNoNumber(const std::string& line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos) return false;
  std::istringstream values(line.substr(colon + 1));
  return std::any_of(std::istream_iterator<std::string>(values), {}, IsNoNumber);
}

std::string Quoted(std::string_view text) {
  const std::string_view shown = text.substr(0, kMostQuoted);
  return "'" + std::string(shown) + (shown.size() < text.size() ? "..." : "") + "'";
}

std::string_view WithoutBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// Finds marks of damage; the error is there then.
Sniffed FindDamage(const std::string& file, const std::string& text, Where* where) {
  for (const auto& damage : kDamages) {
    const std::size_t at = text.find(damage.bytes);
    if (at == std::string::npos) continue;
    const std::vector<std::string> included_by = where->included_by;
    const auto source = std::make_shared<BtSource>(BtSource{file.c_str(), nullptr});
    *where = WhereFinder().find({source, static_cast<long long>(at + damage.fault_at)});
    where->included_by = included_by;
    return {damage.code, damage.text};
  }
  return {};
}

// What the line at fault is known for.
Sniffed SniffLine(const Message& error) {
  const Where& where = error.where;
  if (where.line == 0) return {};
  if (where.line > 1 && HasDecimalComma(where.text)) {
    return {"decimal-comma", "There is a decimal comma in this line; write a point."};
  }
  if (IsNoNumber(WordAt(where)) || HasNoNumber(where.text)) {
    return {"number-missing", "This is no number: a computation failed."};
  }
  return {};
}

Sniffed SniffError(const std::string& file, FileKind expected, Message* error) {
  const std::size_t name = error->text.find("Unable to open ");
  if (name != std::string::npos && error->text.find('\\', name) != std::string::npos) {
    return {"include-backslash", "There are backslashes in the name; write slashes."};
  }
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return {};  // what was in a pipe is gone
  const std::string text = TextOfFile(file);
  Sniffed sniffed = Sniff(std::string_view(text).substr(0, kStartSize), expected);
  if (sniffed.code == nullptr) sniffed = FindDamage(file, text, &error->where);
  return sniffed.code == nullptr ? SniffLine(*error) : sniffed;
}

// Where reading stopped: the error's last sentence tells what was expected there.
std::string StopText(const Message& error) {
  constexpr std::string_view kReading[] = {"Unable to read ", "Error reading ", "Cannot read ",
                                           "Unknown object type"};
  constexpr std::string_view kValues[] = {"floating point", "integer value", "No value given",
                                          "value for"};
  const std::string_view text = error.text;
  const std::size_t end = text.find_last_not_of(". ");
  const std::size_t stop = end == std::string_view::npos ? end : text.rfind(". ", end);
  const std::string_view last = text.substr(stop == std::string_view::npos ? 0 : stop + 2);
  const std::string word = WordAt(error.where);
  if (error.where.at_end && HoldsOneOf(last, kReading)) {
    return " The file ends here; it seems to be cut off.";
  }
  if (HoldsOneOf(last, kValues)) {
    return " The line is " + Quoted(WithoutBlanks(error.where.text)) + ".";
  }
  if (!HoldsOneOf(last, kReading) || word.empty() || word.ends_with(':') || word == "{") return {};
  return " It stopped at " + Quoted(word) + ".";
}

// A text in the other dialect than its second line says, or two in one file.
std::string DialectText(const Message& error) {
  const std::string_view line = WithoutBlanks(error.where.text);
  if (line == kBaModelFileId && error.where.line > 1) return " Two files seem to be joined here.";
  if (line.starts_with("//") || line.starts_with("/*")) return " A comment begins with #.";
  if (Holds(error.text, "Unknown object type") && (line.ends_with('{') || Holds(line, ": "))) {
    return " It looks like a document: the second line of those is v2.00.";
  }
  if (Holds(error.text, "'{' following tag") && line.size() == 1 && Holds("XMPFTfBS", line)) {
    return " It looks like a legacy model: the second line of those is v1.30.";
  }
  // A vertex begins with a number.
  const std::string word = WordAt(error.where);
  const bool is_number = !word.empty() && (IsDigit(word[0]) || word[0] == '-');
  if (Holds(error.text, "Unable to read vertex.") && !is_number) {
    return " Is the number of vertices in the first line of the record right?";
  }
  if (Holds(error.text, "Unknown object type") && is_number) {
    return " Does the record in front of it have too many numbers?";
  }
  return {};
}

std::string HintText(const Message& error, FileKind expected) {
  std::string text = DialectText(error);
  if (expected == FileKind::Mapping && WordAt(error.where).starts_with('#')) {
    return " Body maps hold no comments.";
  }
  if (expected == FileKind::Mapping && HoldsOneOf(error.text, kCountFaults)) {
    return " Is the number of body maps in the fourth line right?";
  }
  if (error.where.at_end || !text.empty()) return text;
  const auto* const hint = std::ranges::find_if(
      kHints, [&error](const auto& row) { return Holds(error.text, row.words); });
  if (hint != std::end(kHints)) return std::string(" ") + hint->hint;
  if (expected == FileKind::Mapping && HoldsOneOf(error.text, kShifted)) {
    return " Is the body map in front of it whole?";
  }
  return {};
}

}  // namespace

void ExplainError(const std::string& file, FileKind expected, std::vector<Message>* messages) {
  const auto error = std::ranges::find(*messages, true, &Message::is_error);
  if (error == messages->end() || !CanBeOpened(file)) return;
  const std::string faulty = error->where.file.empty() ? file : error->where.file;
  const Sniffed sniffed = SniffError(faulty, expected, &*error);
  if (sniffed.code != nullptr) {
    error->text.insert(0, sniffed.text + " ");
    error->code = sniffed.code;
    return;
  }
  if (!error->text.ends_with('.')) error->text += '.';
  error->text += StopText(*error) + HintText(*error, expected);
}
