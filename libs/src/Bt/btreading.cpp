#include "btreading.h"

#include <algorithm>
#include <functional>

#include "Bt/btifstream.h"

BtReading* BtReading::_innermost = nullptr;

namespace {

const BtFileBuf* FileBufOf(const std::istream& is) {
  return dynamic_cast<const BtFileBuf*>(is.rdbuf());
}

}  // namespace

long long BtStreamOffset(const std::istream& is) {
  const BtFileBuf* const buf = FileBufOf(is);
  return buf == nullptr ? -1 : buf->position();
}

BtFileReading::BtFileReading(const BtStr& name) {
  BtPlace around;
  findOuter(&around);
  _source = std::make_shared<BtSource>(BtSource{name, std::move(around.source)});
}

bool BtFileReading::find(BtPlace* place) {
  place->source = _source;
  return true;
}

BtStreamReading::BtStreamReading(std::istream& is) : _is(is), _buf(FileBufOf(is)) {
  beginRecord(0);
}

void BtStreamReading::beginRecord(int behind) {
  if (_buf != nullptr) _start = _buf->position() - behind;
}

bool BtStreamReading::find(BtPlace* place) {
  if (_buf == nullptr || !findOuter(place)) return false;
  place->offset = _is.fail() ? _buf->position() : _start;
  return true;
}

void BtItemLines::reset(std::string_view value, bool single_line) {
  _value = value;
  _single_line = single_line;
  _counted = _line_start = value.data();
  _lines = 0;
  _all_lines = -1;
}

bool BtItemLines::has(const char* character) const {
  const std::less_equal<> before;
  return before(_value.data(), character) && before(character, _value.data() + _value.size());
}

void BtItemLines::toItem(BtPlace* place) {
  place->lines -= _countAll() + (_single_line ? 0 : 1);
  place->column = 0;
}

void BtItemLines::toCharacter(const char* character, BtPlace* place) {
  place->lines -= _countAll() - _countTo(character);
  // A plain value stands somewhere behind its key, which is as good a place.
  place->column = _single_line ? 0 : static_cast<int>(character - _line_start);
}

int BtItemLines::_countTo(const char* character) {
  if (character < _line_start) {
    while (_counted > character) _lines -= *--_counted == '\n' ? 1 : 0;
    _line_start = character;
    while (_line_start > _value.data() && _line_start[-1] != '\n') --_line_start;
  }
  for (; _counted < character; ++_counted) {
    if (*_counted != '\n') continue;
    ++_lines;
    _line_start = _counted + 1;
  }
  return _lines;
}

int BtItemLines::_countAll() {
  if (_all_lines < 0) _all_lines = static_cast<int>(std::ranges::count(_value, '\n'));
  return _all_lines;
}

BtItemReading::BtItemReading(const std::istream& is, std::string_view value, bool single_line)
    : _is(is) {
  _lines.reset(value, single_line);
}

BtItemReading::BtItemReading(const BtViewStream& text, std::string_view value, bool single_line)
    : _is(text), _text(&text) {
  _lines.reset(value, single_line);
}

// The stream stands behind the end of the item's last line.
bool BtItemReading::_findEnd(BtPlace* place) const {
  if (_text != nullptr)
    return outer() != nullptr && outer()->findAt(_text->rest().data() - 1, place);
  const long long offset = BtStreamOffset(_is);
  if (offset < 1 || !findOuter(place)) return false;
  place->offset = offset - 1;
  return true;
}

bool BtItemReading::find(BtPlace* place) {
  if (!_findEnd(place)) return false;
  _lines.toItem(place);
  return true;
}

bool BtItemReading::findAt(const char* character, BtPlace* place) {
  if (!_lines.has(character)) return find(place);
  if (!_findEnd(place)) return false;
  _lines.toCharacter(character, place);
  return true;
}
