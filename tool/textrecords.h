// The records of a model or a mapping as they stand in its text, and in what it includes: where
// they are, what they are called, which names they use. The text may be broken: what comes before
// the fault is found, of documents also what comes behind it.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Bt/btexcept.h"
#include "Bt/bthash.h"

// One line of a record: a key word of a document with its value ("{" for a block), or a number of a
// body map, whose keys are "order" and the transform ids.
struct TextItem {
  std::string_view key;
  std::string_view value;
  std::size_t offset;
};

struct TextRecord {
  std::string key;  // of documents; "BODY", "MATERIAL" and "MAP" of other texts, too
  std::size_t file;
  std::size_t offset;
  std::size_t end;
  std::string name = {};  // with the suffix of includes
  int id = 0;             // with the offset of includes; of a map, that of its body
  std::vector<TextItem> items = {};
  // The first item of a key and, unless that is empty, of a value; null for none.
  [[nodiscard]] const TextItem* find(std::string_view item_key, std::string_view value = {}) const;
};

// A polygon, a strip or the like of legacy text.
struct TextElement {
  std::size_t file;
  std::size_t offset;  // of its letter
};

struct TextFile {
  std::shared_ptr<const BtSource> source;
  std::string text;
  std::size_t depth;        // of includes
  std::string suffix = {};  // of the names of its bodies
  int id_offset = 0;
};

class TextRecords {
 public:
  TextRecords() = default;
  explicit TextRecords(const std::string& file);
  TextRecords(const TextRecords&) = delete;
  TextRecords& operator=(const TextRecords&) = delete;

  [[nodiscard]] const std::vector<std::unique_ptr<TextFile>>& files() const { return _files; }
  [[nodiscard]] const std::vector<TextRecord>& records() const { return _records; }
  // The first record of a key with this id or, where there is none, with this name. Null for none.
  [[nodiscard]] const TextRecord* find(std::string_view key, int id, std::string_view name) const;
  // The record that holds a line, counted from 1; null for none. Those of legacy text are bodies
  // and materials only.
  [[nodiscard]] const TextRecord* at(const std::string& file, long long line) const;
  [[nodiscard]] BtPlace placeOf(const TextRecord& record, std::size_t offset) const;
  [[nodiscard]] BtPlace placeOf(const TextRecord& record) const {
    return placeOf(record, record.offset);
  }
  // Where a closing brace is missing: the section that stands within another one, or the one that
  // does not end. Nowhere where all end.
  [[nodiscard]] BtPlace openBlock() const;
  // The first corner of a polygon that names a vertex, or a texture coordinate, by a number that is
  // higher than there are.
  [[nodiscard]] BtPlace indexOf(const std::string& number, bool is_texture) const;
  // Where a body has these texture coordinates, in a document.
  [[nodiscard]] BtPlace textureCoordinateOf(const std::string& body_name,
                                            const std::array<float, 2>& wanted) const;
  // The first polygon of a document that has two corners in a row at one position.
  [[nodiscard]] BtPlace repeatedPosition() const;
  // The first weight that names a vertex by its number.
  [[nodiscard]] BtPlace weightOf(const std::string& number) const;
  // Where a body has a vertex at this position, or in a document the first weight of that vertex.
  // Nowhere where it is not found.
  [[nodiscard]] BtPlace vertexOf(int body_id, const std::string& body_name,
                                 const std::array<float, 3>& position, bool weights) const;

 private:
  void _readFile(std::size_t file);
  void _readDocument(std::size_t file, std::size_t from);
  void _readLegacy(std::size_t file, std::size_t from);
  void _readMapping(std::size_t file, std::size_t from);
  void _closeBlock(std::size_t end, std::vector<std::string_view>* blocks);
  void _name(TextRecord* record) const;
  void _include(const TextRecord& record);
  void _addIndex();
  template <class Visit>
  void _forEachRow(const TextRecord& record, std::string_view list, int width, Visit visit) const;
  [[nodiscard]] const TextRecord* _setOf(const TextRecord& geometry) const;
  [[nodiscard]] int _countRows(const TextRecord* record, std::string_view list, int width) const;
  [[nodiscard]] std::size_t _repeatIn(const TextRecord& record, const TextItem& list,
                                      const std::vector<std::array<float, 3>>& positions) const;
  [[nodiscard]] BtPlace _coordinateOf(const TextRecord& set, const std::array<float, 3>& position,
                                      bool weights) const;
  [[nodiscard]] BtPlace _weightOf(const TextRecord& set, int number) const;
  [[nodiscard]] std::size_t _behindLine(const TextRecord& record, const TextItem& item) const;
  [[nodiscard]] const TextRecord* _lookUp(const std::string& words) const;

  std::vector<std::unique_ptr<TextFile>> _files;
  std::vector<TextRecord> _records;
  bool _is_open = false;                       // the last of them does not end
  BtHashMap<std::string, std::size_t> _index;  // of the first record by key and id, key and name
  BtHashMap<int, std::vector<TextElement>> _elements;  // by the ids of their bodies
};
