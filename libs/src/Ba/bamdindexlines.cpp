#include "bamdindexlines.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <type_traits>

#include "bamdsection.h"

namespace {

bool IsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

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

template <class Entry>
class LineReader {
 public:
  LineReader(std::string_view text, BaMDLines kind, BaMDIndexLists<Entry>* lists)
      : _next(text.data()), _end(text.data() + text.size()), _kind(kind), _lists(lists) {}

  bool read() {
    const auto chars = static_cast<std::size_t>(_end - _next);
    if (chars > kLargeBlock) _lists->reserve(chars / kFewestCharsPerEntry);
    while (_next != _end) {
      if (!_readLine()) return false;
    }
    return true;
  }

 private:
  // In a large block as much room is reserved as its text can fill; what stays empty is no memory.
  static constexpr std::size_t kLargeBlock = std::size_t{1} << 20;
  static constexpr std::size_t kFewestCharsPerEntry = std::is_same_v<Entry, int> ? 2 : 4;

  bool _readLine() {
    _count = 0;
    while (_skipBlanks()) {
      Entry entry = {};
      if (!_readEntry(&entry)) return false;
      _add(entry);
    }
    if (_next != _end) ++_next;
    _endLine();
    return true;
  }
  // False at the end of the line.
  bool _skipBlanks() {
    while (_next != _end && *_next != '\n' && BtIsSpace(*_next)) ++_next;
    return _next != _end && *_next != '\n';
  }
  bool _readEntry(int* vertex) { return _readIndex("Unable to read vertex index.", vertex); }
  bool _readEntry(BaMDTexturedCorner* corner) {
    if (!_readEntry(&corner->vertex)) return false;
    if (!_skipBlanks() || IsDigit(*_next) || *_next == '-' || *_next == '+') {
      return BaFail("Unable to read delimiter.");
    }
    ++_next;
    _skipBlanks();
    return _readIndex("Unable to read texture coordinate index.", &corner->coord);
  }
  bool _readIndex(const char* message, int* index);
  void _add(const Entry& entry);
  void _endLine();
  void _dropVertex() { theExceptObj.setAsWarning(DuplicateWarning<Entry>()); }

  const char* _next;
  const char* _end;
  BaMDLines _kind;
  BaMDIndexLists<Entry>* _lists;
  // Of the line at hand: what was kept of it.
  int _count = 0;
  int _first = 0;
  int _last = 0;
};

template <class Entry>
bool LineReader<Entry>::_readIndex(const char* message, int* index) {
  constexpr std::int64_t kMaxIndex = std::numeric_limits<int>::max();
  constexpr std::ptrdiff_t kMostDigits = 10;
  const bool negative = _next != _end && *_next == '-';
  if (_next != _end && (negative || *_next == '+')) ++_next;
  const char* p = _next;
  const char* const limit = p + std::min(_end - p, kMostDigits);
  std::int64_t number = 0;
  while (p != limit && IsDigit(*p)) number = number * 10 + (*p++ - '0');
  if (p == _next || number > kMaxIndex || (p != _end && IsDigit(*p))) return BaFail(message);
  if (negative || number == 0) return BaFail("Indices must be greater than zero.");
  _next = p;
  *index = static_cast<int>(number);
  return true;
}

template <class Entry>
void LineReader<Entry>::_add(const Entry& entry) {
  const int vertex = VertexOf(entry);
  if (_count > 0 && vertex == _last) return _dropVertex();
  if (_count == 0) _first = vertex;
  _last = vertex;
  ++_count;
  _lists->push(entry);
}

template <class Entry>
void LineReader<Entry>::_endLine() {
  if (_count == 0) return;
  if (_kind == BaMDLines::Polygons) {
    if (_count > 1 && _last == _first) {
      _lists->popEntry();
      --_count;
      _dropVertex();
    }
    if (_count < 3) {
      theExceptObj.setAsWarning(DegenerateWarning());
      return _lists->dropList();
    }
  }
  _lists->endList();
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
  return LineReader<int>(text, kind, lists).read();
}

bool BaReadIndexLines(std::string_view text, BaMDLines kind,
                      BaMDIndexLists<BaMDTexturedCorner>* lists) {
  return LineReader<BaMDTexturedCorner>(text, kind, lists).read();
}

void BaPrintIndexLines(std::ostream& os, const char* key, const BaMDIndexLists<int>& lists) {
  PrintLists(os, key, lists);
}

void BaPrintIndexLines(std::ostream& os, const char* key,
                       const BaMDIndexLists<BaMDTexturedCorner>& lists) {
  PrintLists(os, key, lists);
}
