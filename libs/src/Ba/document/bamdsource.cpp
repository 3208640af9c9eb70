#include "bamdsource.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "Bt/btparse.h"
#include "btviewstream.h"

namespace {

constexpr std::string_view kBlanks = " \t\v\f\r";

std::string_view Trim(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  text.remove_prefix(first);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

const char* EndOfLine(const char* from, const char* end) {
  const void* found =
      from == end ? nullptr : std::memchr(from, '\n', static_cast<std::size_t>(end - from));
  return found == nullptr ? end : static_cast<const char*>(found);
}

// What follows a brace on its line, blanks aside: 0 for nothing.
char AfterBrace(const char* brace, const char* end) {
  const char* p = brace + 1;
  while (p != end && (*p == ' ' || *p == '\t')) ++p;
  return p == end || *p == '\n' ? '\0' : *p;
}

// What a brace or a backslash in a block is to it. Others are for the reader that knows comments
// and escaped line ends.
enum class BlockRole { Opens, Closes, Text, Other };

BlockRole RoleOf(const char* c, const char* end) {
  if (*c == '\\') {
    return c + 1 != end && c[1] == '\n' ? BlockRole::Other : BlockRole::Text;
  }
  const char after = AfterBrace(c, end);
  if (after == '#') return BlockRole::Other;
  if (*c == '{') return after == '\0' ? BlockRole::Opens : BlockRole::Text;
  return after == '\0' ? BlockRole::Closes : BlockRole::Other;
}

}  // namespace

const char* BaMDSource::Finder::find(const char* from, const char* end) {
  if (place == nullptr || place < from) {
    const void* found =
        from == end ? nullptr : std::memchr(from, c, static_cast<std::size_t>(end - from));
    place = found == nullptr ? end : static_cast<const char*>(found);
  }
  return place;
}

bool BaMDSource::next(BaMDItem* item) {
  if (_is != nullptr) return _read(*_is, item);
  return _cutItem(item) || (_next != _end && _readRest(item));
}

bool BaMDSource::_read(std::istream& is, BaMDItem* item) {
  _lines.reset({}, true);
  _failed = !BtReadTaggedValue(is, &_key, &_value, &item->single_line);
  if (_failed || _key.isNull()) return false;
  item->key = _key.view();
  item->value = _value.view();
  _lines.reset(item->value, item->single_line);
  return true;
}

// The last line of the item that was read last by way of a stream, or of what cannot be read.
bool BaMDSource::_findEnd(BtPlace* place) {
  if (_is == nullptr) return outer()->findAt(_next == _begin ? _begin : _next - 1, place);
  place->offset = BtStreamOffset(*_is) - 1;
  place->column = 0;
  return place->offset >= 0 && findOuter(place);
}

bool BaMDSource::find(BtPlace* place) {
  if (_is == nullptr) return outer() != nullptr && outer()->findAt(_item, place);
  if (!_findEnd(place)) return false;
  _lines.toItem(place);
  return true;
}

bool BaMDSource::findAt(const char* character, BtPlace* place) {
  if (_lines.has(character)) {
    if (!_findEnd(place)) return false;
    _lines.toCharacter(character, place);
    return true;
  }
  const std::less_equal<> before;
  const bool is_own = _is == nullptr && before(_begin, character) && before(character, _end);
  return is_own && outer() != nullptr ? outer()->findAt(character, place) : find(place);
}

// The way for everything that is not plainly an item: escaped line ends, comments, errors.
bool BaMDSource::_readRest(BaMDItem* item) {
  _item = _next;
  BtViewStream rest({_next, static_cast<std::size_t>(_end - _next)});
  const bool read = _read(rest, item);
  _next = _end - rest.rest().size();
  return read;
}

// Finds an item that is part of the text as it stands. False, without moving past anything but
// empty lines, when there is none or it takes more than looking for braces to read it.
bool BaMDSource::_cutItem(BaMDItem* item) {
  while (_next != _end && (*_next == '\n' || kBlanks.find(*_next) != std::string_view::npos))
    ++_next;
  if (_next == _end || *_next == '#') return false;
  _item = _next;
  const char* const line_end = EndOfLine(_next, _end);
  const std::string_view line(_next, static_cast<std::size_t>(line_end - _next));
  const std::size_t colon = line.find(':');
  if (colon != std::string_view::npos) {
    if (line.back() == '\\') return false;
    *item = {Trim(line.substr(0, colon)), Trim(line.substr(colon + 1)), true};
    _next = std::min(line_end + 1, _end);
    return true;
  }
  const std::size_t brace = line.find('{');
  if (brace == std::string_view::npos || line_end == _end) return false;
  if (AfterBrace(_next + brace, line_end) != '\0') return false;
  const char* const begin = line_end + 1;
  const char* const block_end = _findBlockEnd(begin);
  if (block_end == nullptr) return false;
  *item = {
      Trim(line.substr(0, brace)), {begin, static_cast<std::size_t>(block_end - begin)}, false};
  _next = std::min(EndOfLine(block_end, _end) + 1, _end);
  return true;
}

// The brace that closes a block; null when there is none, or something else is to be minded.
const char* BaMDSource::_findBlockEnd(const char* begin) {
  const char* p = begin;
  for (int depth = 1;;) {
    const char* const open = _open_brace.find(p, _end);
    const char* const close = _close_brace.find(p, _end);
    const char* const backslash = _backslash.find(p, _end);
    p = std::min({open, close, backslash});
    if (p == _end) return nullptr;
    const BlockRole role = RoleOf(p, _end);
    if (role == BlockRole::Other) return nullptr;
    if (role == BlockRole::Opens) ++depth;
    if (role == BlockRole::Closes && --depth == 0) return p;
    ++p;
  }
}
