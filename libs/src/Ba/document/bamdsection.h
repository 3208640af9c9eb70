// What the sections of a model document share: reading items by a table of key words, taking plain
// values apart, and writing numbers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "Bt/array.h"
#include "Bt/btexcept.h"
#include "Bt/btlist.h"
#include "Bt/btparse.h"
#include "Bt/btscan.h"
#include "Bt/btstr.h"
#include "bamdsource.h"
#include "btviewstream.h"

// A key word and the operation of the section's reader that takes its value; that operation answers
// false after a recorded error.
template <class Reader>
struct BaMDKey {
  std::string_view word;
  bool (Reader::*read)(const BaMDItem& item);
  bool repeats = false;  // adds to what it said before; other key words replace it, with a warning
};

// The units of a document, for its reader and its writer.
inline constexpr std::string_view kBaLengthUnits[] = {"INCHES", "METERS"};
inline constexpr std::string_view kBaAngleUnits[] = {"DEGREES", "RADIANS"};
// Factors below would make angles that no float holds.
inline constexpr float kBaMinUnitFactor = 1e-30F;

// Each records an error and answers false.
bool BaFailUnknownKey(std::string_view key);
// For a text that a reader of the document would not get back.
bool BaFailUnwritable(const BtStr& text);
// Records a warning that a key word takes back what it said before.
void BaWarnOfRepeat(std::string_view key);
// A name for messages: empty where it is not set.
inline BtStr BaShown(const BtStr& name) { return BtStr(name.view()); }

// Reads the items of a section up to the end of the input. A key word that is not in the table goes
// to reader.readUnknown(item).
template <class Reader, std::size_t N>
bool BaScanSection(BaMDSource& source, Reader& reader, const BaMDKey<Reader> (&keys)[N]) {
  BaMDItem item;
  bool seen[N] = {};
  while (source.next(&item)) {
    const auto* const key = std::find_if(std::begin(keys), std::end(keys),
                                         [&item](const auto& k) { return k.word == item.key; });
    if (key == std::end(keys)) {
      if (!reader.readUnknown(item)) return false;
      continue;
    }
    if (std::exchange(seen[key - keys], true) && !key->repeats) BaWarnOfRepeat(item.key);
    if (!(reader.*key->read)(item)) return false;
  }
  return !source.failed();
}

// Reads a block that is a section of its own.
template <class Section, class... Args>
bool BaScanBlock(const BaMDItem& item, Section& section, Args... args) {
  return BaMDSource(item.value).scan(section, args...);
}

// The lines of a block that hold something, blanks at both ends removed.
class BaLines {
 public:
  explicit BaLines(std::string_view text) : _rest(text) {}
  // False after the last line.
  bool next(std::string_view* line);

 private:
  std::string_view _rest;
};

// Plain values. Each answers false, without a record of its own where the token readers make none,
// when the value is a block, is not wholly of its kind, or is empty.
bool BaReadInt(const BaMDItem& item, int* value);
bool BaReadFloat(const BaMDItem& item, float* value);
// Any number of floats, none included.
bool BaReadFloatArray(const BaMDItem& item, BtFloatArray* values);
// A name without white space; where it holds some, `spaces_message` is recorded unless it is null.
bool BaReadName(const BaMDItem& item, const char* spaces_message, BtStr* name);
// True when nothing but white space is left of a value.
[[nodiscard]] bool BaAtEnd(std::string_view text);
[[nodiscard]] bool BaHoldsSpace(std::string_view text);

// Lists that own what they point to.
template <class T>
T* BaAppend(BtList<T*>* list, std::unique_ptr<T> element) {
  T* const plain = element.get();
  list->append(element.release());
  return plain;
}
template <class T>
void BaDeleteAll(BtList<T*>* list) {
  for (T* element : *list) std::default_delete<T>()(element);
  list->clear();
}

// An array of exactly these elements.
template <class T>
BtDArray<T> BaToArray(std::span<const T> elements) {
  BtDArray<T> array(SizeTToInt(elements.size()));
  std::copy(elements.begin(), elements.end(), array.begin());
  return array;
}

// How many entries that `mark` ends to make room for before a block is read: as many as it is
// likely to hold by its beginning, and a few more, since room that stays empty is no memory.
[[nodiscard]] inline std::size_t BaRoomFor(std::string_view text, char mark) {
  const std::string_view look = text.substr(0, std::size_t{1} << 14U);
  const auto found = static_cast<std::size_t>(std::count(look.begin(), look.end(), mark)) + 1;
  return look.size() == text.size() ? found : found * text.size() / look.size() * 17 / 16;
}

// Numbers as the stream's precision has them, without its field width.
void BaPrintFloat(std::ostream& os, float value);
void BaPrintInt(std::ostream& os, int value);
// Separated by blanks.
void BaPrintFloats(std::ostream& os, std::span<const float> values);
// The same for numbers that a reader is to get back: false, with an error recorded, where one of
// them is not finite.
bool BaPrintNumbers(std::ostream& os, std::span<const float> values);
// A line of a key, with its indentation and colon, and a text, whose further lines a backslash
// draws in. False, with an error recorded, for a text that a reader of the document would not get
// back: one with "#" or "}" in its first line or "{" at the end of it, or with a backslash at its
// end or white space at either end.
bool BaPrintText(std::ostream& os, const char* key, const BtStr& text);
// The same for a name, which is not empty and holds no white space.
bool BaPrintName(std::ostream& os, const char* key, const BtStr& name);
// Answers true when the stream is well, else records `message` and answers false.
bool BaCheckWritten(const std::ostream& os, const char* message);
