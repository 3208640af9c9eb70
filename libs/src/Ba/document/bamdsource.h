// Where the items of a section come from: a stream, or the text of a block that encloses them.
#pragma once

#include <iosfwd>
#include <string_view>

#include "Bt/btstr.h"
#include "btreading.h"

// One item of a section: a key word with a plain value or with a block.
struct BaMDItem {
  std::string_view key;
  std::string_view value;
  bool single_line = false;  // a plain value
};

// Hands out items one by one. Items of a block are parts of its text, so that a document is not
// copied anew for each level of its blocks.
class BaMDSource : public BtReading {
 public:
  // Items of a stream, which must outlive the source.
  explicit BaMDSource(std::istream& is) : _is(&is) {}
  // Items of a block's text, as an item has it.
  explicit BaMDSource(std::string_view block)
      : _begin(block.data()), _next(_begin), _end(_begin + block.size()), _item(_begin) {}

  // Reads a section of the document from all that there is to hand out: false after a recorded
  // error.
  template <class Section, class... Args>
  bool scan(Section& section, Args... args) {
    return section._scanFrom(*this, args...);
  }
  // Reads the next item, whose parts are valid until the one after it is read. False at the end of
  // the input, and after an error, which is recorded then.
  bool next(BaMDItem* item);
  // True after an error.
  [[nodiscard]] bool failed() const { return _failed; }

  bool find(BtPlace* place) override;
  bool findAt(const char* character, BtPlace* place) override;

 private:
  // The first place behind the last one asked for where a character stands.
  struct Finder {
    char c;
    const char* place = nullptr;

    const char* find(const char* from, const char* end);
  };

  bool _read(std::istream& is, BaMDItem* item);
  bool _readRest(BaMDItem* item);
  bool _cutItem(BaMDItem* item);
  bool _findEnd(BtPlace* place);
  [[nodiscard]] const char* _findBlockEnd(const char* begin);

  bool _failed = false;
  std::istream* _is = nullptr;  // null for a block
  const char* _begin = nullptr;
  const char* _next = nullptr;
  const char* _end = nullptr;
  Finder _open_brace = {'{'};
  Finder _close_brace = {'}'};
  Finder _backslash = {'\\'};
  // Of items that are not part of the text as they stand.
  BtStr _key;
  BtStr _value;
  // For places. The item at hand begins here, in a block.
  const char* _item = nullptr;
  BtItemLines _lines;  // of `_value`
};
