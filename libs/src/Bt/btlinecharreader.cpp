#include "btlinecharreader.h"

#include "btscan.h"

int BtLineCharReader::next() {
  const int c = _buf->sbumpc();
  if (c == '\r' && _buf->sgetc() == '\n') _buf->sbumpc();
  if (c == kEndOfFile) _is.setstate(std::ios::eofbit);
  return c == '\r' ? kEndOfLine : c;
}

int BtLineCharReader::peek() {
  const int c = _buf->sgetc();
  if (c == kEndOfFile) _is.setstate(std::ios::eofbit);
  return c == '\r' ? kEndOfLine : c;
}

std::string_view BtLineCharReader::takeUntil(const BtCharSet& stops) {
  if (Bt_GetArea::next(_buf) == Bt_GetArea::end(_buf)) {
    if (peek() == kEndOfFile) return {};
    if (Bt_GetArea::next(_buf) == Bt_GetArea::end(_buf)) {
      // A stream without a buffer hands out its characters one by one.
      _single = static_cast<char>(_buf->sgetc());
      if (stops.has(_single)) return {};
      _buf->sbumpc();
      return {&_single, 1};
    }
  }
  const char* const begin = Bt_GetArea::next(_buf);
  const char* const limit = Bt_GetArea::end(_buf);
  const char* end = begin;
  while (end != limit && !stops.has(*end)) ++end;
  Bt_GetArea::moveTo(_buf, end);
  return {begin, static_cast<std::size_t>(end - begin)};
}
