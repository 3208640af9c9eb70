#include "where.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>

#include "Bt/btexcept.h"
#include "bttextfile.h"
#include "style.h"

namespace {

// Lines end as readers of documents see it: in a carriage return, a line feed or the two in a row.
std::vector<std::size_t> LineStarts(std::string_view text) {
  std::vector<std::size_t> starts = {0};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_end = text[i] == '\n' || (text[i] == '\r' && text.substr(i + 1, 1) != "\n");
    if (is_end) starts.push_back(i + 1);
  }
  return starts;
}

// The bytes of the first `count` characters.
std::size_t BytesOf(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; end < text.size(); ++end) {
    const bool begins = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80U;
    if (begins && count-- == 0) break;
  }
  return end;
}

}  // namespace

std::string TextOfFile(const std::string& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return {};  // what was in a pipe is gone
  BtExcept* const kept = theExceptObj.release();
  std::string text;
  BtInputFile input(file.c_str());
  if (input.isOpen()) text.assign(std::istreambuf_iterator<char>(input.stream()), {});
  input.close();
  const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
  theExceptObj.restore(kept);
  return text;
}

std::string_view WhereFinder::Text::line(std::size_t i) const {
  const std::size_t end = i + 1 < line_starts.size() ? line_starts[i + 1] : all.size();
  std::string_view line(all.data() + line_starts[i], end - line_starts[i]);
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

const WhereFinder::Text& WhereFinder::_textOf(const std::string& file) {
  const auto [found, is_new] = _texts.try_emplace(file);
  if (is_new) {
    found->second.all = TextOfFile(file);
    found->second.line_starts = LineStarts(found->second.all);
  }
  return found->second;
}

void WhereFinder::_locate(const Text& text, const BtPlace& place, Where* where) {
  const auto offset = static_cast<std::size_t>(place.offset);
  const auto& starts = text.line_starts;
  if (text.all.empty() || offset > text.all.size()) return;
  const long long line = std::upper_bound(starts.begin(), starts.end(), offset) - starts.begin() -
                         1 + static_cast<long long>(place.lines);
  if (line < 0 || line >= static_cast<long long>(starts.size())) return;
  const auto index = static_cast<std::size_t>(line);
  const std::string_view shown = text.line(index);
  std::size_t column = offset - std::min(offset, starts[index]);
  if (place.column >= 0) {
    const std::size_t indentation = shown.find_first_not_of(" \t");
    column = (indentation == std::string_view::npos ? 0 : indentation) +
             static_cast<std::size_t>(place.column);
  }
  column = std::min(column, shown.size());
  where->line = line + 1;
  where->column = static_cast<long long>(Width(shown.substr(0, column))) + 1;
  where->text = shown;
  where->at_end = place.lines == 0 && place.column < 0 &&
                  text.all.find_first_not_of(" \t\r\n", offset) == std::string::npos;
}

Where WhereFinder::find(const BtPlace& place) {
  Where where;
  if (place.source == nullptr) return where;
  where.file = std::string(place.source->name.view());
  for (const BtSource* by = place.source->included_by.get(); by != nullptr;
       by = by->included_by.get()) {
    where.included_by.emplace_back(by->name.view());
  }
  if (place.offset >= 0) _locate(_textOf(where.file), place, &where);
  return where;
}

std::string WhereText(const Where& where) {
  if (where.line == 0) return where.file;
  return where.file + ":" + std::to_string(where.line) + ":" + std::to_string(where.column);
}

std::string ChainText(const Where& where) {
  std::string text;
  for (const std::string& file : where.included_by) {
    text += (text.empty() ? " (included by " : ", by ") + file;
  }
  return text.empty() ? text : text + ")";
}

std::string WordAt(const Where& where) {
  constexpr std::string_view kBlanks = " \t";
  const std::string_view text = where.text;
  if (where.line == 0) return {};
  const std::size_t at = BytesOf(text, static_cast<std::size_t>(where.column - 1));
  const std::size_t last = at == 0 ? 0 : text.find_last_of(kBlanks, at - 1) + 1;  // npos + 1 is 0
  return std::string(
      text.substr(last, std::min(text.find_first_of(kBlanks, at), text.size()) - last));
}

std::string CaretText(const Where& where) {
  // A line of numbers may be millions of characters long: some before the place and some behind it.
  constexpr std::size_t kShown = 100;
  constexpr std::size_t kShownBefore = 60;
  if (where.line == 0) return {};
  const auto column = static_cast<std::size_t>(where.column - 1);
  const std::size_t before = std::min(column, kShownBefore);
  std::string_view text = where.text;
  text.remove_prefix(BytesOf(text, column - before));
  std::string shown(text.substr(0, BytesOf(text, kShown)));
  std::ranges::replace(shown, '\t', ' ');
  return "  " + Printable(shown) + "\n  " + std::string(before, ' ') + "^\n";
}
