// Where a text is being read: what is recorded meanwhile keeps the place. Readers stand in a chain,
// the file below the sections and lists that are read from it; each lives on the stack as long as
// it reads. Nothing is counted before a record is made.
#pragma once

#include <istream>
#include <string_view>

#include "Bt/btexcept.h"
#include "Bt/btstr.h"
#include "btviewstream.h"

class BtFileBuf;

class BtReading {
 public:
  BtReading() : _outer(_innermost) { _innermost = this; }
  virtual ~BtReading() { _innermost = _outer; }
  BtReading(const BtReading&) = delete;
  BtReading& operator=(const BtReading&) = delete;

  // The place at which reading stands. False where that is no part of a file.
  virtual bool find(BtPlace* place) = 0;
  // The place of a character of the text that this reader hands out at the moment.
  virtual bool findAt(const char* /*character*/, BtPlace* place) { return find(place); }
  // The reader that works at the moment; null for none.
  static BtReading* innermost() { return _innermost; }

 protected:
  [[nodiscard]] BtReading* outer() const { return _outer; }
  bool findOuter(BtPlace* place) const { return _outer != nullptr && _outer->find(place); }

 private:
  BtReading* const _outer;
  static BtReading* _innermost;
};

// A file, one that the file of the reader around it includes. Its place has no line.
class BtFileReading : public BtReading {
 public:
  explicit BtFileReading(const BtStr& name);
  bool find(BtPlace* place) override;

 private:
  std::shared_ptr<const BtSource> _source;
};

// A stream of a file, whose place is that of the record which is read, or of what could not be
// read.
class BtStreamReading : public BtReading {
 public:
  explicit BtStreamReading(std::istream& is);
  // A record begins where the stream stands, as it does at first, or `behind` characters back.
  void beginRecord(int behind);
  bool find(BtPlace* place) override;

 private:
  const std::istream& _is;
  const BtFileBuf* _buf;  // null for a stream of no file
  long long _start = 0;
};

// A part of the text that the reader around it hands out: a place that moves, or a stream.
class BtTextReading : public BtReading {
 public:
  explicit BtTextReading(std::string_view text) : _place(text.data()) {}
  void moveTo(const char* character) { _place = character; }
  bool find(BtPlace* place) override {
    return outer() != nullptr && outer()->findAt(_place, place);
  }

 private:
  const char* _place;
};
class BtViewReading : public BtReading {
 public:
  explicit BtViewReading(const BtViewStream& stream) : _stream(stream) {}
  bool find(BtPlace* place) override {
    return outer() != nullptr && outer()->findAt(_stream.rest().data(), place);
  }

 private:
  const BtViewStream& _stream;
};

// Finds lines in the value of an item that BtReadTaggedValue() has read: it has the line ends of
// the text that it is from, but neither its indentation nor its comments. A question takes as long
// as the step from the one before it: many in the order of the text take no longer than one.
class BtItemLines {
 public:
  void reset(std::string_view value, bool single_line);
  [[nodiscard]] bool has(const char* character) const;
  // From the place of the item's end to that of the item, or of one of the value's characters.
  void toItem(BtPlace* place);
  void toCharacter(const char* character, BtPlace* place);

 private:
  int _countTo(const char* character);
  int _countAll();

  std::string_view _value;
  bool _single_line = false;
  const char* _counted = nullptr;     // up to here
  const char* _line_start = nullptr;  // of the line in which that is
  int _lines = 0;                     // in front of it
  int _all_lines = -1;                // not counted yet
};

// An item that was read from a stream of a file, or from a text that the reader around it hands
// out.
class BtItemReading : public BtReading {
 public:
  BtItemReading(const std::istream& is, std::string_view value, bool single_line);
  BtItemReading(const BtViewStream& text, std::string_view value, bool single_line);
  bool find(BtPlace* place) override;
  bool findAt(const char* character, BtPlace* place) override;

 private:
  bool _findEnd(BtPlace* place) const;

  const std::istream& _is;
  const BtViewStream* _text = nullptr;
  BtItemLines _lines;
};

// Bytes of a stream's text that were consumed; -1 for a stream of no file.
[[nodiscard]] long long BtStreamOffset(const std::istream& is);
