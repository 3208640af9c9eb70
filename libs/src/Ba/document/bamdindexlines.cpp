#include "bamdindexlines.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <ostream>
#include <type_traits>
#include <utility>

#include "bamdsection.h"
#include "btdigits.h"

namespace {

constexpr int kFewestIndices = 3;

int VertexOf(int entry) { return entry; }
int VertexOf(const BaMDTexturedCorner& entry) { return entry.vertex; }

// Bad files warn once for each polygon: the records share one text.
template <class Entry>
const BtStr& DuplicateWarning() {
  static const BtStr warning(std::is_same_v<Entry, int>
                                 ? "Duplicate vertex in polygon removed."
                                 : "Duplicate vertex in textured polygon removed.");
  return warning;
}
const BtStr& DegenerateWarning() {
  static const BtStr warning("Degenerate polygon removed.");
  return warning;
}

// Skips blanks up to `end`, which need not be the end of a line.
const char* SkipBlanks(const char* p, const char* end) {
  while (p != end && *p != '\n' && BtIsSpace(*p)) ++p;
  return p;
}

// The readers of single things answer the place behind what they read, null after a recorded error.
const char* ReadIndex(const char* p, const char* end, const char* message, int* index) {
  constexpr std::int64_t kMaxIndex = std::numeric_limits<int>::max();
  constexpr std::ptrdiff_t kMostDigits = 10;
  const bool negative = p != end && *p == '-';
  if (p != end && (negative || *p == '+')) ++p;
  const char* const digits = p;
  const char* const limit = p + std::min(end - p, kMostDigits);
  std::int64_t number = 0;
  while (p != limit && Bt_IsDigit(*p)) number = number * 10 + (*p++ - '0');
  if (p == digits || number > kMaxIndex || (p != end && Bt_IsDigit(*p))) {
    theExceptObj.set("%s", message);
    return nullptr;
  }
  if (negative || number == 0) {
    theExceptObj.set("Indices must be greater than zero.");
    return nullptr;
  }
  *index = static_cast<int>(number);
  return p;
}

// An entry of up to eight digits, or two such around `slash`, which is null where there is none: in
// one go, with no branch on its length. False for others, which may be right in spite of that.
inline bool JoinEntry(const char* p, const char* slash, const char* after, int* vertex) {
  const auto count = static_cast<int>(after - p);
  if (slash != nullptr || !Bt_AreJoined(count)) return false;
  *vertex = static_cast<int>(Bt_JoinDigits(Bt_LoadDigits(p), count));
  return *vertex != 0;
}

inline bool JoinEntry(const char* p, const char* slash, const char* after,
                      BaMDTexturedCorner* corner) {
  if (slash == nullptr) return false;
  const auto vertex_count = static_cast<int>(slash - p);
  const auto coord_count = static_cast<int>(after - slash) - 1;
  if (!Bt_AreJoined(vertex_count) || !Bt_AreJoined(coord_count)) return false;
  const std::uint64_t vertex_digits = Bt_LoadDigits(p);
  const std::uint64_t coord_digits = Bt_LoadDigits(slash + 1);
  const auto [vertex, coord] = Bt_JoinTwo(vertex_digits, vertex_count, coord_digits, coord_count);
  *corner = {static_cast<int>(vertex), static_cast<int>(coord)};
  return vertex != 0 && coord != 0;
}

const char* ReadEntry(const char* p, const char* end, int* vertex) {
  return ReadIndex(p, end, "Unable to read vertex index.", vertex);
}

const char* ReadEntry(const char* p, const char* end, BaMDTexturedCorner* corner) {
  p = ReadEntry(p, end, &corner->vertex);
  if (p == nullptr) return nullptr;
  p = SkipBlanks(p, end);
  if (p == end || *p == '\n' || Bt_IsDigit(*p) || *p == '-' || *p == '+') {
    theExceptObj.set("Unable to read delimiter.");
    return nullptr;
  }
  return ReadIndex(SkipBlanks(p + 1, end), end, "Unable to read texture coordinate index.",
                   &corner->coord);
}

// Takes the entries of one list after another and keeps what makes a polygon or a strip.
template <class Entry>
class ListMaker {
 public:
  ListMaker(BaMDLines kind, BaMDIndexLists<Entry>* lists) : _kind(kind), _lists(lists) {}

  void add(const Entry& entry) {
    const int vertex = VertexOf(entry);
    if (_count > 0 && vertex == _last) return _warnOfDuplicate();
    if (_count == 0) _first = vertex;
    _last = vertex;
    ++_count;
    _lists->push(entry);
  }
  void end();

 private:
  static void _warnOfDuplicate() { BtWarn(BtCode("vertex-duplicate"), DuplicateWarning<Entry>()); }

  BaMDLines _kind;
  BaMDIndexLists<Entry>* _lists;
  // Of the list at hand: what was kept of it.
  int _count = 0;
  int _first = 0;
  int _last = 0;
};

template <class Entry>
void ListMaker<Entry>::end() {
  const int count = std::exchange(_count, 0);
  if (count == 0) return;
  const bool is_closed = _kind == BaMDLines::Polygons && count > 1 && _last == _first;
  if (is_closed) {
    _lists->popEntry();
    _warnOfDuplicate();
  }
  if (_kind == BaMDLines::Polygons && count - (is_closed ? 1 : 0) < kFewestIndices) {
    BtWarn(BtCode("polygon-degenerate"), DegenerateWarning());
    return _lists->dropList();
  }
  _lists->endList();
}

template <class Entry>
class LinesReader {
 public:
  LinesReader(std::string_view text, BaMDLines kind, BaMDIndexLists<Entry>* lists)
      : _next(text.data()),
        _end(_next + text.size()),
        _line(_next),
        _maker(kind, lists),
        _reading(text) {}

  // False after a recorded error.
  bool read();

 private:
  void _readCommon();
  bool _takeCommon(const char* other);
  bool _readAny();
  void _endLine() {
    _maker.end();
    _line = ++_next;
    _reading.moveTo(_line);
  }

  const char* _next;  // what is not read yet
  const char* _end;
  const char* _line;
  const char* _slash = nullptr;  // behind _next, where it was met
  ListMaker<Entry> _maker;
  BtTextReading _reading;
};

template <class Entry>
bool LinesReader<Entry>::read() {
  while (_next != _end) {
    _readCommon();
    _next = SkipBlanks(_next, _end);
    if (_next == _end) break;
    if (*_next == '\n') {
      _endLine();
    } else if (!_readAny()) {
      return false;
    }
  }
  _maker.end();
  return true;
}

// Reads common entries with blanks and line ends between them, as far as they go. What is no digit
// is found 64 characters at a time, so that no entry waits for the one before it.
template <class Entry>
void LinesReader<Entry>::_readCommon() {
  constexpr std::ptrdiff_t kWindow = 64;
  constexpr std::ptrdiff_t kReadAhead = 16;
  _slash = nullptr;
  for (const char* window = _next; _end - window >= kWindow + kReadAhead; window += kWindow) {
    std::uint64_t others = 0;
    for (int i = 0; i < kWindow; i += 16) others |= std::uint64_t{Bt_FindOthers(window + i)} << i;
    for (; others != 0; others &= others - 1) {
      if (!_takeCommon(window + std::countr_zero(others))) return;
    }
  }
}

// Takes what ends at the next character that is no digit; false where that is no common entry.
template <class Entry>
inline bool LinesReader<Entry>::_takeCommon(const char* other) {
  if (*other == '/' && _slash == nullptr) {
    _slash = other;
    return true;
  }
  if (*other != ' ' && *other != '\n') return false;
  if (other != _next) {
    Entry entry = {};
    if (!JoinEntry(_next, _slash, other, &entry)) return false;
    _maker.add(entry);
    _slash = nullptr;
  }
  _next = other;
  if (*other == '\n') {
    _endLine();
  } else {
    ++_next;
  }
  return true;
}

template <class Entry>
bool LinesReader<Entry>::_readAny() {
  Entry entry = {};
  _reading.moveTo(_next);
  _next = ReadEntry(_next, _end, &entry);
  if (_next == nullptr) return false;
  _reading.moveTo(_line);
  _maker.add(entry);
  return true;
}

template <class Entry>
bool ReadLines(std::string_view text, BaMDLines kind, BaMDIndexLists<Entry>* lists) {
  const std::size_t n_lines = BaRoomFor(text, '\n');
  lists->reserve(BaRoomFor(text, ' ') + n_lines, n_lines);
  return LinesReader<Entry>(text, kind, lists).read();
}

void PrintEntry(std::ostream& os, int vertex) { BaPrintInt(os, vertex); }
void PrintEntry(std::ostream& os, const BaMDTexturedCorner& corner) {
  BaPrintInt(os, corner.vertex);
  os << '/';
  BaPrintInt(os, corner.coord);
}

template <class Entry>
void PrintLists(std::ostream& os, const char* key, const BaMDIndexLists<Entry>& lists) {
  if (lists.empty()) return;
  os << "    " << key << " {\n";
  for (int i = 0; i < lists.count(); ++i) {
    os << "     ";
    for (const Entry& entry : lists[i]) {
      os << ' ';
      PrintEntry(os, entry);
    }
    os << '\n';
  }
  os << "    }\n";
}

}  // namespace

bool BaReadIndexLines(std::string_view text, BaMDLines kind, BaMDIndexLists<int>* lists) {
  return ReadLines(text, kind, lists);
}

bool BaReadIndexLines(std::string_view text, BaMDLines kind,
                      BaMDIndexLists<BaMDTexturedCorner>* lists) {
  return ReadLines(text, kind, lists);
}

void BaPrintIndexLines(std::ostream& os, const char* key, const BaMDIndexLists<int>& lists) {
  PrintLists(os, key, lists);
}

void BaPrintIndexLines(std::ostream& os, const char* key,
                       const BaMDIndexLists<BaMDTexturedCorner>& lists) {
  PrintLists(os, key, lists);
}
