#include "textrecords.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

#include "Ba/babody.h"
#include "Ba/balight.h"
#include "Ba/balightingmodel.h"
#include "Ba/bamaterial.h"
#include "Ba/bamuscle.h"
#include "Ba/bavertex.h"
#include "Bt/btfile.h"
#include "Bt/btscan.h"
#include "bamodelheader.h"
#include "btviewstream.h"
#include "messages.h"
#include "where.h"

namespace {

constexpr std::size_t kMostFiles = 1000;
constexpr std::size_t kMostLevels = 100;
constexpr std::string_view kWhite = " \t\v\f\r\n";

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhite);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhite) + 1 - first);
}

int IntOf(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// Hands out the lines of a text, ended in any way.
class Lines {
 public:
  Lines(std::string_view text, std::size_t from) : _text(text), _next(from) {}
  bool next() {
    if (_next >= _text.size()) return false;
    _start = _next;
    const std::size_t end = std::min(_text.find_first_of("\r\n", _start), _text.size());
    _line = _text.substr(_start, end - _start);
    _next = end + (_text.substr(end, 2) == "\r\n" ? 2 : 1);
    return true;
  }
  [[nodiscard]] std::string_view line() const { return _line; }
  [[nodiscard]] std::size_t nextStart() const { return std::min(_next, _text.size()); }
  // Of a part of the line.
  [[nodiscard]] std::size_t offsetOf(std::string_view part) const {
    return static_cast<std::size_t>(part.data() - _text.data());
  }

 private:
  std::string_view _text;
  std::string_view _line;
  std::size_t _start = 0;
  std::size_t _next;
};

// Reads numbers of a text and knows where they stand.
class Words {
 public:
  Words(std::string_view text, std::size_t from)
      : _size(text.size()), _stream(text.substr(from)), _in(_stream) {}
  BtScanner& in() { return _in; }
  [[nodiscard]] std::size_t offset() const { return _size - _stream.rest().size(); }
  // The offset of the next word.
  std::size_t nextOffset() {
    _in.skipSpace();
    return offset();
  }

 private:
  std::size_t _size;
  BtViewStream _stream;
  BtScanner _in;
};

void SkipLine(Words* words) {
  while (words->in().get() != '\n' && words->in().stream()) continue;
}

// What a set of vertices is called, so that it is told from those of other files.
std::string SetName(std::size_t file, std::string_view name) {
  return std::to_string(file) + ":" + std::string(name);
}

// What stands in front of each vertex, and in front of the first.
struct ElementForm {
  char letter;
  int ints;  // in front of the first vertex, behind body and material
  int floats_before;
  int ints_before;
};
constexpr ElementForm kElementForms[] = {
    {'F', 1, 0, 0}, {'P', 1, 2, 0}, {'f', 2, 0, 1}, {'T', 1, 0, 1}, {'t', 1, 2, 1}};

// Reads the element behind its letter and calls visit(offset, vertex) for each vertex until that
// answers false. Nothing where the element is broken.
template <class Visit>
std::optional<int> ReadElement(const ElementForm& form, Words* words, Visit visit) {
  BtScanner& in = words->in();
  int body_id = 0;
  int count = 0;
  int ignored = 0;
  if (!in.readInt(&body_id) || !in.readInt(&ignored) || !in.readInt(&count)) return {};
  if (form.ints == 2 && !in.readInt(&ignored)) return {};
  for (int i = 0; i < count; ++i) {
    std::array<float, 2> floats = {};
    if (!in.readFloats(floats.data(), form.floats_before)) return {};
    if (form.ints_before == 1 && !in.readInt(&ignored)) return {};
    const std::size_t offset = words->nextOffset();
    BaVertex vertex;
    if (!vertex.scanFrom(in)) return {};
    if (!visit(offset, vertex)) break;
  }
  return body_id;
}

const ElementForm* FormOf(char letter) {
  const auto* const form = std::ranges::find(kElementForms, letter, &ElementForm::letter);
  return form == std::end(kElementForms) ? nullptr : form;
}

template <class Named>
bool ReadNamed(const char* key, Named* named, BtScanner& in, TextRecord* record) {
  if (!named->scanFrom(in)) return false;
  record->key = key;
  record->name = Text(named->name());
  record->id = named->id();
  return true;
}

// Reads a record behind its letter. What is of no interest gets no key.
bool ReadLegacyRecord(char letter, BtScanner& in, TextRecord* record) {
  switch (letter) {
    case 'X': {
      BaBody body;
      return ReadNamed("BODY", &body, in, record);
    }
    case 'M': {
      BaMaterial material;
      material.setVersion(1.3F);
      return ReadNamed("MATERIAL", &material, in, record);
    }
    case 'B': {
      int id = 0;
      std::array<float, 6> points = {};
      return in.readInt(&id) && in.readInt(&id) && in.readFloats(points.data(), 6);
    }
    case 'G':
      return BaLightingModel().scanFrom(in);
    case 'I':
      return BaLight().scanFrom(in);
    case 'm':
      return BaMuscle().scanFrom(in);
    case 'S':
    case 'V':
      return true;
    default:
      return false;
  }
}

// A variable or a constant; a combination's number of terms is below 0.
bool SkipTransform(BtScanner& in) {
  int number = 0;
  if (!in.readInt(&number)) return false;
  double ignored = 0;
  for (long long left = number < 0 ? -2LL * number - 1 : 0; left > 0; --left) {
    if (!in.readDouble(&ignored)) return false;
  }
  return true;
}

// Reads the map of a body; false where it is broken.
bool ReadMap(std::string_view text, Words* words, TextRecord* record) {
  constexpr std::array<const char*, 6> kTransforms = {"1", "2", "3", "4", "5", "6"};
  BtScanner& in = words->in();
  if (!in.readInt(&record->id)) return false;
  record->items.push_back({"order", {}, words->nextOffset()});
  int ignored = 0;
  for (std::size_t i = 0; i < kTransforms.size(); ++i) {
    if (!in.readInt(&ignored)) return false;
  }
  for (const char* const transform : kTransforms) {
    const std::size_t offset = words->nextOffset();
    if (!SkipTransform(in)) return false;
    record->items.push_back({transform, text.substr(offset, words->offset() - offset), offset});
  }
  record->end = words->offset();
  return true;
}

// What counts of a line of a document. Outside of blocks a comment may follow a brace only.
std::string_view WithoutComment(std::string_view line, bool is_in_block) {
  const std::string_view plain = Trimmed(line.substr(0, line.find('#')));
  if (is_in_block || plain.empty() || plain.ends_with('{')) return plain;
  return Trimmed(line);
}

// The lines of these blocks begin with a name, and have no colon.
bool IsItem(std::string_view line, std::string_view block) {
  return line.find(':') != std::string_view::npos || line.ends_with('{') || block == "SLIDERS" ||
         block == "MATERIAL_TEXTURE_INDEX_MAPS";
}

// The key word of a line, or its first word.
std::string_view KeyOf(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon != std::string_view::npos) return Trimmed(line.substr(0, colon));
  return line.substr(0, line.find_first_of(" \t{"));
}

std::string_view ValueOf(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos && line.ends_with('{')) return "{";
  line.remove_prefix(colon == std::string_view::npos ? KeyOf(line).size() : colon + 1);
  return Trimmed(line);
}

// Finds a whole number that stands alone, or as the second of a pair "3/7".
std::size_t FindIndex(std::string_view text, std::size_t from, std::string_view number,
                      bool is_second) {
  constexpr std::string_view kDigits = "0123456789";
  for (std::size_t at = text.find(number, from); at != std::string_view::npos;
       at = text.find(number, at + 1)) {
    const char before = text[at - 1];
    const char after = at + number.size() < text.size() ? text[at + number.size()] : ' ';
    const bool is_whole = kDigits.find(before) == std::string_view::npos &&
                          kDigits.find(after) == std::string_view::npos && after != '.';
    if (is_whole && is_second == (kWhite.find(before) == std::string_view::npos)) return at;
  }
  return std::string_view::npos;
}

// Forgets what is recorded while it lives.
class Unrecorded {
 public:
  Unrecorded() : _kept(theExceptObj.release()) {}
  ~Unrecorded() {
    const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
    theExceptObj.restore(_kept);
  }
  Unrecorded(const Unrecorded&) = delete;
  Unrecorded& operator=(const Unrecorded&) = delete;

 private:
  BtExcept* const _kept;
};

}  // namespace

const TextItem* TextRecord::find(std::string_view item_key, std::string_view value) const {
  const auto found = std::ranges::find_if(items, [item_key, value](const TextItem& item) {
    return item.key == item_key && (value.empty() || item.value == value);
  });
  return found == items.end() ? nullptr : &*found;
}

TextRecords::TextRecords(const std::string& file) {
  const Unrecorded unrecorded;
  _files.push_back(std::make_unique<TextFile>(
      TextFile{std::make_shared<BtSource>(BtSource{file.c_str(), nullptr}), TextOfFile(file), 0}));
  // Files that are included are added behind.
  for (std::size_t i = 0; i < _files.size(); ++i) _readFile(i);
  _addIndex();
}

void TextRecords::_addIndex() {
  for (std::size_t i = 0; i < _records.size(); ++i) {
    const TextRecord& record = _records[i];
    if (record.id != 0) _index.try_emplace(record.key + "#" + std::to_string(record.id), i);
    _index.try_emplace(record.key + " " + record.name, i);
  }
}

const TextRecord* TextRecords::_lookUp(const std::string& words) const {
  const auto found = _index.find(words);
  return found == _index.end() ? nullptr : &_records[found->second];
}

const TextRecord* TextRecords::find(std::string_view key, int id, std::string_view name) const {
  const std::string word(key);
  const TextRecord* const record = id == 0 ? nullptr : _lookUp(word + "#" + std::to_string(id));
  if (record != nullptr || name.empty()) return record;
  return _lookUp(word + " " + std::string(name));
}

const TextRecord* TextRecords::at(const std::string& file, long long line) const {
  const auto is_it = [&file](const auto& other) { return file == Text(other->source->name); };
  const auto found = std::ranges::find_if(_files, is_it);
  if (found == _files.end()) return nullptr;
  Lines lines((*found)->text, 0);
  while (line > 1 && lines.next()) --line;
  const std::size_t start = lines.nextStart();
  lines.next();
  const std::size_t end = lines.nextStart();
  const auto number = static_cast<std::size_t>(found - _files.begin());
  const auto holds = [number, start, end](const TextRecord& record) {
    return record.file == number && record.offset < end && record.end > start;
  };
  const auto record = std::ranges::find_if(_records, holds);
  return record == _records.end() ? nullptr : &*record;
}

BtPlace TextRecords::placeOf(const TextRecord& record, std::size_t offset) const {
  return {_files[record.file]->source, static_cast<long long>(offset)};
}

void TextRecords::_readFile(std::size_t file) {
  const std::string_view text = _files[file]->text;
  Lines lines(text, 0);
  if (!lines.next()) return;
  const bool is_model = lines.line() == kBaModelFileId;
  if (!lines.next()) return;
  const std::size_t start = lines.nextStart();
  if (!is_model) return _readMapping(file, start);
  const bool is_document = Trimmed(lines.line()).starts_with("v2");
  return is_document ? _readDocument(file, start) : _readLegacy(file, start);
}

void TextRecords::_readDocument(std::size_t file, std::size_t from) {
  Lines lines(_files[file]->text, from);
  std::vector<std::string_view> blocks;  // that are open
  while (lines.next()) {
    const std::string_view line = WithoutComment(lines.line(), !blocks.empty());
    if (line.empty()) continue;
    if (blocks.empty()) {
      _records.push_back({std::string(KeyOf(line)), file, lines.offsetOf(line), lines.nextStart(),
                          std::string(ValueOf(line))});
      if (_records.back().key == "END") return;
    } else if (line == "}") {
      _closeBlock(lines.nextStart(), &blocks);
    } else if (IsItem(line, blocks.back())) {
      _records.back().items.push_back({KeyOf(line), ValueOf(line), lines.offsetOf(line)});
    }
    if (line.ends_with('{')) blocks.push_back(KeyOf(line));
  }
  if (blocks.empty()) return;
  _name(&_records.back());
  _is_open = true;
}

void TextRecords::_closeBlock(std::size_t end, std::vector<std::string_view>* blocks) {
  TextRecord& record = _records.back();
  record.end = end;
  blocks->pop_back();
  if (!blocks->empty()) return;
  _name(&record);
  if (record.key == "INCLUDE") _include(record);
}

BtPlace TextRecords::openBlock() const {
  if (!_is_open) return {};
  const TextRecord& record = _records.back();
  const auto is_section = [](const TextItem& item) {
    constexpr std::string_view kSections[] = {"BODY", "MATERIAL", "VERTICES", "GEOMETRY"};
    return item.value == "{" && std::ranges::count(kSections, item.key) > 0;
  };
  const auto inner = std::ranges::find_if(record.items, is_section);
  return placeOf(record, inner == record.items.end() ? record.offset : inner->offset);
}

// Calls visit(offset, row) for the rows of a list of numbers until that answers false.
template <class Visit>
void TextRecords::_forEachRow(const TextRecord& record, std::string_view list, int width,
                              Visit visit) const {
  const TextItem* const item = record.find(list);
  if (item == nullptr) return;
  Words words(_files[record.file]->text, _behindLine(record, *item));
  std::array<float, 3> row = {};
  for (;;) {
    const std::size_t offset = words.nextOffset();
    if (words.in().peek() == '#') {
      SkipLine(&words);
    } else if (!words.in().readFloats(row.data(), width) || !visit(offset, row)) {
      return;
    }
  }
}

const TextRecord* TextRecords::_setOf(const TextRecord& geometry) const {
  const TextItem* const name = geometry.find("VERTICES");
  if (name == nullptr) return nullptr;
  return find("VERTICES", 0, SetName(geometry.file, name->value));
}

int TextRecords::_countRows(const TextRecord* record, std::string_view list, int width) const {
  int count = 0;
  if (record != nullptr) {
    _forEachRow(*record, list, width, [&count](std::size_t, const auto&) { return ++count > 0; });
  }
  return count;
}

BtPlace TextRecords::indexOf(const std::string& number, bool is_texture) const {
  for (const TextRecord& record : _records) {
    const TextItem* const group =
        record.key == "GEOMETRY" ? record.find("MATERIAL_GROUP") : nullptr;
    if (group == nullptr) continue;
    const int count = is_texture ? _countRows(&record, "TEXTURE_COORDINATES", 2)
                                 : _countRows(_setOf(record), "COORDINATES", 3);
    if (IntOf(number) <= count) continue;
    const std::string_view text = std::string_view(_files[record.file]->text).substr(0, record.end);
    const std::size_t at = FindIndex(text, group->offset, number, is_texture);
    if (at != std::string_view::npos) return placeOf(record, at);
  }
  return {};
}

BtPlace TextRecords::textureCoordinateOf(const std::string& body_name,
                                         const std::array<float, 2>& wanted) const {
  BtPlace place;
  const TextRecord* const geometry = find("GEOMETRY", 0, body_name);
  if (geometry == nullptr) return place;
  _forEachRow(*geometry, "TEXTURE_COORDINATES", 2, [&](std::size_t offset, const auto& row) {
    if (row[0] == wanted[0] && row[1] == wanted[1]) place = placeOf(*geometry, offset);
    return place.source == nullptr;
  });
  return place;
}

BtPlace TextRecords::repeatedPosition() const {
  for (const TextRecord& record : _records) {
    if (record.key != "GEOMETRY") continue;
    std::vector<std::array<float, 3>> positions;
    if (const TextRecord* const set = _setOf(record); set != nullptr) {
      _forEachRow(*set, "COORDINATES", 3, [&positions](std::size_t, const auto& row) {
        positions.push_back(row);
        return true;
      });
    }
    for (const TextItem& item : record.items) {
      if (!item.key.ends_with("POLYGONS")) continue;
      const std::size_t at = _repeatIn(record, item, positions);
      if (at != std::string::npos) return placeOf(record, at);
    }
  }
  return {};
}

// The line of a list of polygons in which two corners in a row are at one position.
std::size_t TextRecords::_repeatIn(const TextRecord& record, const TextItem& list,
                                   const std::vector<std::array<float, 3>>& positions) const {
  Lines lines(_files[record.file]->text, list.offset);
  for (lines.next(); lines.next() && WithoutComment(lines.line(), true) != "}";) {
    std::vector<std::size_t> corners;
    std::istringstream words(std::string(WithoutComment(lines.line(), true)));
    for (std::string word; words >> word;) {
      const auto number = static_cast<std::size_t>(IntOf(word));
      if (number >= 1 && number <= positions.size()) corners.push_back(number - 1);
    }
    for (std::size_t i = 0; i < corners.size(); ++i) {
      if (positions[corners[i]] == positions[corners[(i + 1) % corners.size()]])
        return lines.offsetOf(Trimmed(lines.line()));
    }
  }
  return std::string::npos;
}

BtPlace TextRecords::weightOf(const std::string& number) const {
  for (const TextRecord& record : _records) {
    BtPlace place = record.key == "VERTICES" ? _weightOf(record, IntOf(number)) : BtPlace();
    if (place.source != nullptr) return place;
  }
  return {};
}

// Names and ids as they are when everything is included.
void TextRecords::_name(TextRecord* record) const {
  const TextFile& file = *_files[record->file];
  const TextItem* const name = record->find(record->key == "GEOMETRY" ? "BODY" : "NAME");
  record->name = name == nullptr ? "" : std::string(name->value);
  if (record->key == "BODY" || record->key == "GEOMETRY") record->name += file.suffix;
  if (record->key == "INCLUDE") record->name = " ";
  // Sets of several files may have one name.
  if (record->key == "VERTICES") record->name = SetName(record->file, record->name);
  const TextItem* const id = record->find("ID");
  if (id != nullptr) record->id = IntOf(id->value) + file.id_offset;
}

void TextRecords::_include(const TextRecord& record) {
  const TextItem* const name = record.find("FILE_NAME");
  const TextFile& by = *_files[record.file];
  if (name == nullptr || _files.size() >= kMostFiles || by.depth >= kMostLevels) return;
  const BtStr given(name->value);
  const BtStr path =
      BtFileIsAbsolutePath(given) ? given : BtFileJoin(BtFileDirectory(by.source->name), given);
  for (const BtSource* other = by.source.get(); other != nullptr;
       other = other->included_by.get()) {
    if (other->name == path) return;
  }
  TextFile file{std::make_shared<BtSource>(BtSource{path, by.source}), TextOfFile(Text(path)),
                by.depth + 1, by.suffix, by.id_offset};
  if (const TextItem* const suffix = record.find("BODY_NAME_SUFFIX"); suffix != nullptr) {
    file.suffix.insert(0, suffix->value);
  }
  if (const TextItem* const offset = record.find("BODY_ID_OFFSET"); offset != nullptr) {
    file.id_offset += IntOf(offset->value);
  }
  _files.push_back(std::make_unique<TextFile>(std::move(file)));
}

void TextRecords::_readLegacy(std::size_t file, std::size_t from) {
  Words words(_files[file]->text, from);
  BtScanner& in = words.in();
  char letter = 0;
  while (in.readChar(&letter)) {
    const std::size_t offset = words.offset() - 1;
    if (letter == '#') {
      SkipLine(&words);
    } else if (const ElementForm* const form = FormOf(letter); form != nullptr) {
      const auto body_id = ReadElement(*form, &words, [](auto&&...) { return true; });
      if (!body_id) return;
      _elements[*body_id].push_back({file, offset});
    } else {
      TextRecord record = {"", file, offset, 0};
      if (!ReadLegacyRecord(letter, in, &record)) return;
      record.end = words.offset();
      if (!record.key.empty()) _records.push_back(std::move(record));
    }
  }
}

void TextRecords::_readMapping(std::size_t file, std::size_t from) {
  const std::string_view text = _files[file]->text;
  Words words(text, from);
  BtScanner& in = words.in();
  int variables = 0;
  int count = 0;
  _records.push_back({"VARIABLES", file, words.nextOffset(), 0, " "});
  if (!in.readInt(&variables) || !in.readInt(&count)) return;
  for (int i = 0; i < count; ++i) {
    TextRecord record = {"MAP", file, words.nextOffset(), 0};
    if (!ReadMap(text, &words, &record)) return;
    record.id += _files[file]->id_offset;
    _records.push_back(std::move(record));
  }
  _readDocument(file, words.offset());
}

BtPlace TextRecords::vertexOf(int body_id, const std::string& body_name,
                              const std::array<float, 3>& position, bool weights) const {
  const auto is_it = [&position](const float* other) {
    return std::equal(position.begin(), position.end(), other);
  };
  const auto elements = _elements.find(body_id);
  for (const TextElement& element :
       elements == _elements.end() ? std::vector<TextElement>() : elements->second) {
    Words words(_files[element.file]->text, element.offset + 1);
    std::optional<std::size_t> found;
    ReadElement(*FormOf(_files[element.file]->text[element.offset]), &words,
                [&](std::size_t offset, const BaVertex& vertex) {
                  if (is_it(vertex.position())) found = offset;
                  return !found;
                });
    if (found) return {_files[element.file]->source, static_cast<long long>(*found)};
  }
  const TextRecord* const geometry = find("GEOMETRY", 0, body_name);
  const TextRecord* const set = geometry == nullptr ? nullptr : _setOf(*geometry);
  return set == nullptr ? BtPlace() : _coordinateOf(*set, position, weights);
}

BtPlace TextRecords::_coordinateOf(const TextRecord& set, const std::array<float, 3>& position,
                                   bool weights) const {
  BtPlace place;
  int number = 0;
  _forEachRow(set, "COORDINATES", 3, [&](std::size_t offset, const auto& row) {
    ++number;
    if (row == position) place = placeOf(set, offset);
    return place.source == nullptr;
  });
  BtPlace weight = weights && place.source != nullptr ? _weightOf(set, number) : BtPlace();
  return weight.source != nullptr ? weight : place;
}

BtPlace TextRecords::_weightOf(const TextRecord& set, int number) const {
  for (const TextItem& item : set.items) {
    if (item.key != "WEIGHTS") continue;
    Words words(_files[set.file]->text, _behindLine(set, item));
    float weight = 0;
    int vertex = 0;
    for (std::size_t offset = words.nextOffset();
         words.in().readFloats(&weight, 1) && words.in().readInt(&vertex);
         offset = words.nextOffset()) {
      if (vertex == number) return placeOf(set, offset);
    }
  }
  return {};
}

std::size_t TextRecords::_behindLine(const TextRecord& record, const TextItem& item) const {
  const std::string& text = _files[record.file]->text;
  return std::min(text.find_first_of("\r\n", item.offset), text.size());
}
