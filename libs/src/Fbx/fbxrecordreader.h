// Takes binary FBX files apart into records. Made for files that nobody vouches for: every length
// is checked before it is used, and nothing is copied or unpacked before it is asked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One value of a record.
struct FbxReadValue {
  char code = 0;             // the letter of its type in the file
  std::int64_t integer = 0;  // B C Y I L
  double number = 0;         // the same, and F D
  std::string_view bytes;    // S R, and the stored bytes of arrays
  std::uint32_t count = 0;   // elements of an array
  std::uint32_t encoding = 0;

  [[nodiscard]] bool isArray() const { return code >= 'a' && code <= 'z'; }
};

// Steps through the values of a record, which were checked when the file was read.
class FbxValueCursor {
 public:
  explicit FbxValueCursor(std::string_view values) : _rest(values) {}
  // The next value; false at the end, and where no value stands.
  bool next(FbxReadValue* value);
  [[nodiscard]] bool atEnd() const { return _rest.empty(); }

 private:
  std::string_view _rest;
};

// The records of the first section of a file, of versions with offsets of 32 bits (below 7.5). They
// stand in file order: a record's descendants follow it.
class FbxRecordFile {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  struct Record {
    std::string_view name;
    std::string_view values;  // their bytes
    std::uint32_t value_count;
    std::size_t parent;  // index, kNone at the top
    std::size_t end;     // index behind the last descendant
  };

  FbxRecordFile() = default;
  FbxRecordFile(const FbxRecordFile&) = delete;
  FbxRecordFile& operator=(const FbxRecordFile&) = delete;

  // Takes the bytes of a file; false after a recorded error.
  bool read(std::string bytes);

  // As in the file: 7100 for 7.1.
  [[nodiscard]] int version() const { return _version; }
  [[nodiscard]] const std::vector<Record>& records() const { return _records; }
  [[nodiscard]] const Record& operator[](std::size_t i) const { return _records[i]; }

  // The first child of a record, of the top for kNone, with this name; kNone where there is none.
  [[nodiscard]] std::size_t child(std::size_t parent, std::string_view name) const;
  // Calls visit(index) for each child of a record, of the top for kNone.
  template <class Visit>
  void forEachChild(std::size_t parent, Visit visit) const {
    const std::size_t end = parent == kNone ? _records.size() : _records[parent].end;
    for (std::size_t i = parent == kNone ? 0 : parent + 1; i < end; i = _records[i].end) visit(i);
  }

  // Value `i` of a record, counted from 0; one with the code 0 where there is none.
  [[nodiscard]] FbxReadValue value(std::size_t record, std::size_t i) const;
  // All numbers of a record: those of arrays, and those that stand one by one. False, with an error
  // recorded, for an array that cannot be unpacked.
  bool numbers(std::size_t record, std::vector<double>* numbers) const;
  // How many numbers those are. Nothing is unpacked.
  [[nodiscard]] std::uint64_t numberCount(std::size_t record) const;

 private:
  struct Header {
    std::uint32_t end;
    std::uint32_t count;
    std::uint32_t length;
  };
  // A list of records that is being read.
  struct List {
    std::size_t record;
    std::size_t end;  // offset
  };

  bool _readRecords();
  bool _readHeader(Header* header);
  bool _beginRecord(const Header& header, std::size_t limit, std::vector<List>* open);
  bool _endList(const Header& header, std::vector<List>* open);
  static bool _fail(const char* what, std::size_t at);

  std::string _bytes;
  std::size_t _at = 0;
  int _version = 0;
  std::vector<Record> _records;
};
