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

// An entry of up to eight digits, or two such with a slash between, in one go: no branch on its
// length. Null for others, which may be right in spite of that.
constexpr std::ptrdiff_t kCommonRoom = 32;

inline const char* ReadCommonEntry(const char* p, int* vertex) {
  const int count = std::countr_zero(Bt_FindOthers(p));
  if (!Bt_AreJoined(count)) return nullptr;
  *vertex = static_cast<int>(Bt_JoinDigits(Bt_LoadDigits(p), count));
  return *vertex == 0 ? nullptr : p + count;
}

inline const char* ReadCommonEntry(const char* p, BaMDTexturedCorner* corner) {
  const unsigned others = Bt_FindOthers(p);
  const unsigned others_behind = others & (others - 1);
  if (others_behind == 0) return nullptr;
  const char* const slash = p + std::countr_zero(others);
  const char* const after = p + std::countr_zero(others_behind);
  const auto first_count = static_cast<int>(slash - p);
  const auto second_count = static_cast<int>(after - slash) - 1;
  if (*slash != '/' || !Bt_AreJoined(first_count) || !Bt_AreJoined(second_count)) return nullptr;
  corner->vertex = static_cast<int>(Bt_JoinDigits(Bt_LoadDigits(p), first_count));
  corner->coord = static_cast<int>(Bt_JoinDigits(Bt_LoadDigits(slash + 1), second_count));
  return corner->vertex == 0 || corner->coord == 0 ? nullptr : after;
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
bool ReadLines(std::string_view text, BaMDLines kind, BaMDIndexLists<Entry>* lists) {
  const std::size_t n_lines = BaRoomFor(text, '\n');
  lists->reserve(BaRoomFor(text, ' ') + n_lines, n_lines);
  ListMaker<Entry> maker(kind, lists);
  BtTextReading reading(text);
  const char* line = text.data();
  const char* const end = text.data() + text.size();
  for (const char* p = SkipBlanks(text.data(), end); p != end; p = SkipBlanks(p, end)) {
    if (*p == '\n') {
      maker.end();
      line = ++p;
      reading.moveTo(line);
      continue;
    }
    Entry entry = {};
    const char* after = end - p >= kCommonRoom ? ReadCommonEntry(p, &entry) : nullptr;
    if (after == nullptr) {
      reading.moveTo(p);
      after = ReadEntry(p, end, &entry);
      if (after == nullptr) return false;
      reading.moveTo(line);
    }
    p = after;
    maker.add(entry);
  }
  maker.end();
  return true;
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
