// Where findings are: the lines of the files that show them.
#include <algorithm>
#include <optional>

#include "checkrules.h"
#include "style.h"
#include "textrecords.h"

namespace {

// Key words of lines that name something which another section defines.
constexpr std::string_view kReferences[] = {"PARENT_NAME", "BODY",         "VERTICES",
                                            "MATERIAL",    "SLIDER_GROUP", "SLIDER_NAME"};

// The names that a message holds between quotes or parentheses.
std::vector<std::string> NamesIn(std::string_view text) {
  constexpr std::string_view kOpening = "\"'(";
  constexpr std::string_view kClosing = "\"')";
  std::vector<std::string> names;
  for (std::size_t i = text.find_first_of(kOpening); i < text.size();
       i = text.find_first_of(kOpening, i + 1)) {
    const std::size_t end = text.find(kClosing[kOpening.find(text[i])], i + 1);
    if (end == std::string_view::npos) break;
    names.emplace_back(text.substr(i + 1, end - i - 1));
    i = end;
  }
  return names;
}

// The vertex that a finding about a body tells of; nowhere where there is none.
BtPlace VertexOf(const TextRecords& text, const Finding& finding) {
  const Spot& spot = finding.spot;
  if (std::string_view(finding.place.kind) != "body" || !spot.vertex) return {};
  if (spot.uv) {
    BtPlace place = text.textureCoordinateOf(finding.place.name, *spot.uv);
    if (place.source != nullptr) return place;
  }
  return text.vertexOf(finding.place.id.value_or(0), finding.place.name, *spot.vertex,
                       spot.key == "WEIGHTS");
}

// The record that a finding tells of; null for none.
const TextRecord* RecordOf(const TextRecords& text, const Finding& finding) {
  const std::string_view kind = finding.place.kind;
  const Spot& spot = finding.spot;
  const int id = finding.place.id.value_or(0);
  if (spot.map_of != 0) return text.find("MAP", spot.map_of, {});
  if (kind == "body" && spot.in_mapping) return text.find("MAP", id, {});
  if (kind == "body") return text.find("BODY", id, finding.place.name);
  if (kind == "material" && !spot.in_mapping) return text.find("MATERIAL", 0, finding.place.name);
  return nullptr;
}

// The first record or line with a key word; nowhere where there is none.
BtPlace FirstPlaceOf(const TextRecords& text, const Spot& spot) {
  for (const TextRecord& record : text.records()) {
    if (record.key == spot.key && spot.value.empty()) return text.placeOf(record);
    const TextItem* const item = record.find(spot.key, spot.value);
    if (item != nullptr) return text.placeOf(record, item->offset);
  }
  return {};
}

// The line of a record that names something which another section or file holds; null for none.
const TextItem* ReferenceIn(const TextRecord& record, const std::string& name) {
  // Names of included files are seen from the folder of the file that includes them.
  const TextItem* const file = record.find("FILE_NAME");
  if (record.key == "INCLUDE" && file != nullptr && name.ends_with(file->value)) return file;
  for (const std::string_view key : kReferences) {
    const TextItem* const item = record.find(key, name);
    if (item != nullptr) return item;
  }
  return nullptr;
}

// The first such line; nowhere where there is none.
BtPlace ReferenceTo(const TextRecords& text, const std::string& name) {
  for (const TextRecord& record : text.records()) {
    const TextItem* const item = ReferenceIn(record, name);
    if (item != nullptr) return text.placeOf(record, item->offset);
  }
  return {};
}

// What is wrong with a record, as messages tell it.
struct LateFault {
  std::string_view record_key;
  std::string_view item_key;  // of the line at fault
  std::string value;

  [[nodiscard]] bool is(const TextRecord& record) const {
    if (item_key != "ID") return record.name == value;
    // One that is out of range has no number.
    const TextItem* const item = record.find(item_key);
    return item != nullptr && (item->value == value || std::to_string(record.id) == value);
  }
};

std::optional<LateFault> LateFaultOf(const Finding& finding) {
  const std::string& message = finding.text;
  const std::string_view code = finding.kind->code;
  const std::vector<std::string> names = NamesIn(message);
  const std::string name = names.empty() ? "" : names.back();
  if (message.find("A GEOMETRY section specifies an undefined") != std::string::npos) {
    return LateFault{"GEOMETRY", "BODY", name};
  }
  if (message.find("bodies have name") != std::string::npos) return LateFault{"BODY", "NAME", name};
  if (code != "body-id-range" && code != "body-id-duplicate") return {};
  const std::size_t end = message.find_last_of("0123456789");
  const std::size_t start = message.find_last_of(' ', end) + 1;
  return LateFault{"BODY", "ID", message.substr(start, end + 1 - start)};
}

class Placer {
 public:
  Placer(const CheckInput& input) : _input(input) {}

  void place(Finding* finding) {
    // Legacy text shows parents that are wrong at its end only.
    const std::string_view code = finding->kind->code;
    const bool is_late = code == "parent-missing" || code == "parent-circle";
    if (finding->where.line == 0) _placeLast(finding);
    if (finding->where.line == 0 || is_late) {
      _placeByNames(finding);
      const BtPlace found = _find(*finding);
      if (found.source != nullptr) finding->where = _finder.find(found);
    } else if (finding->body.empty() && finding->material.empty()) {
      _nameRecord(finding);
    }
    if (finding->where.file.empty()) finding->where.file = _fileOf(*finding);
    _placeLateFaults(finding);
    _tellOfTwin(finding);
    if (code == "parent-missing") _tellOfLateParent(finding);
    if (code == "variable-count") _tellOfVariable(finding);
  }

 private:
  static bool _isInMapping(const Finding& finding) {
    const std::string_view kind = finding.place.kind;
    return finding.spot.in_mapping || kind == "mapping" || kind == "variable";
  }
  [[nodiscard]] const std::string& _fileOf(const Finding& finding) const {
    return _isInMapping(finding) ? _input.dof_file : _input.model_file;
  }
  const TextRecords& _textOf(const Finding& finding) {
    return _isInMapping(finding) ? _input.texts->mapping() : _input.texts->model();
  }

  BtPlace _find(const Finding& finding);
  void _placeByNames(Finding* finding);
  void _placeByName(const TextRecords& text, const std::string& name, Finding* finding);
  void _nameRecord(Finding* finding);
  void _placeLateFaults(Finding* finding);
  void _placeLast(Finding* finding);
  void _tellOfLateParent(Finding* finding);
  void _tellOfVariable(Finding* finding);
  void _tellOfTwin(Finding* finding);

  const CheckInput& _input;
  WhereFinder _finder;
};

BtPlace Placer::_find(const Finding& finding) {
  const TextRecords& text = _textOf(finding);
  const Spot& spot = finding.spot;
  BtPlace vertex = VertexOf(text, finding);
  if (vertex.source != nullptr) return vertex;
  if (const TextRecord* const record = RecordOf(text, finding); record != nullptr) {
    const TextItem* const item = spot.key.empty() ? nullptr : record->find(spot.key, spot.value);
    return text.placeOf(*record, item == nullptr ? record->offset : item->offset);
  }
  return spot.key.empty() ? BtPlace() : FirstPlaceOf(text, spot);
}

// What is told of the file as a whole names bodies and materials, or a name that nothing has.
void Placer::_placeByNames(Finding* finding) {
  const std::string_view kind = finding->place.kind;
  if ((kind != "model" && kind != "mapping") || !finding->spot.key.empty()) return;
  const std::vector<std::string> names = NamesIn(finding->text);
  if (names.empty()) return;
  const TextRecords& text = _textOf(*finding);
  for (const std::string& name : names) _placeByName(text, name, finding);
  if (text.find("BODY", 0, names.back()) != nullptr) return;
  const BtPlace reference = ReferenceTo(text, names.back());
  if (reference.source != nullptr) finding->where = _finder.find(reference);
}

// The first body and the first material count.
void Placer::_placeByName(const TextRecords& text, const std::string& name, Finding* finding) {
  const TextRecord* const body = text.find("BODY", 0, name);
  const TextRecord* const record = body != nullptr ? body : text.find("MATERIAL", 0, name);
  std::string* const known = body != nullptr ? &finding->body : &finding->material;
  if (record == nullptr || !known->empty()) return;
  *known = name;
  finding->where = _finder.find(text.placeOf(*record));
}

void Placer::_nameRecord(Finding* finding) {
  const TextRecord* const record = _textOf(*finding).at(finding->where.file, finding->where.line);
  if (record != nullptr && (record->key == "BODY" || record->key == "GEOMETRY")) {
    finding->body = record->name;
  } else if (record != nullptr && record->key == "MATERIAL") {
    finding->material = record->name;
  } else {
    const Where where = finding->where;
    _placeByNames(finding);
    finding->where = where;
  }
}

// Numbers of vertices that there are not.
BtPlace WrongIndex(const TextRecords& text, const Finding& finding) {
  const std::vector<std::string> numbers = NamesIn(finding.text);
  const std::size_t at = finding.text.find(" references a ");
  if (numbers.empty()) return {};
  if (at != std::string::npos) {
    const bool is_texture = finding.text.compare(at, 22, " references a texture ") == 0;
    return text.indexOf(numbers.back(), is_texture);
  }
  const bool is_weight = finding.text.find("Invalid vertex index (") != std::string::npos;
  const bool is_there = finding.where.text.find(numbers.back()) != std::string::npos;
  return is_weight && !is_there ? text.weightOf(numbers.back()) : BtPlace();
}

BtPlace NamelessRecord(const TextRecords& text, std::string_view key) {
  const TextRecord* const record = text.find(key, 0, " ");
  return record == nullptr ? BtPlace() : text.placeOf(*record);
}

BtPlace LatePlace(const TextRecords& text, const Finding& finding) {
  const std::string_view code = finding.kind->code;
  const bool is_included = code == "body-mapped-twice" && finding.where.line == 0;
  if (code == "variable-overlap" || is_included) return NamelessRecord(text, "INCLUDE");
  if (code == "variable-count") return NamelessRecord(text, "VARIABLES");
  if (code != "vertex-duplicate" && code != "polygon-degenerate") return WrongIndex(text, finding);
  return finding.where.line == 0 ? text.repeatedPosition() : BtPlace();
}

// What readers notice at the end of a file only, or behind it.
void Placer::_placeLateFaults(Finding* finding) {
  const TextRecords& text = _textOf(*finding);
  BtPlace place = LatePlace(text, *finding);
  if (finding->text.find("Hit end of file without reading") != std::string::npos) {
    place = text.openBlock();
    finding->text += finding->text.ends_with('.') ? "" : ".";
    finding->text += " A closing brace is missing before this line, or the file is cut off.";
  }
  if (place.source != nullptr) finding->where = _finder.find(place);
}

// What bodies and shapes must not have is noticed when the file was read: the last that has it.
void Placer::_placeLast(Finding* finding) {
  const std::optional<LateFault> fault = LateFaultOf(*finding);
  if (!fault) return;
  const TextRecords& text = _textOf(*finding);
  for (const TextRecord& record : text.records()) {
    if (record.key != fault->record_key || !fault->is(record)) continue;
    const TextItem* const item = record.find(fault->item_key);
    const std::size_t at = item == nullptr ? record.offset : item->offset;
    finding->where = _finder.find(text.placeOf(record, at));
    finding->body = record.name;
  }
}

// The reader wants parents in front of their children.
void Placer::_tellOfLateParent(Finding* finding) {
  const TextRecords& text = _textOf(*finding);
  const std::vector<std::string> names = NamesIn(finding->text);
  if (names.size() < 2) return;
  const TextRecord* const parent = text.find("BODY", 0, names.back());
  if (parent == nullptr) {
    const auto other = std::ranges::find_if(text.records(), [&names](const TextRecord& record) {
      return record.key == "BODY" && LowerCase(record.name) == LowerCase(names.back());
    });
    if (other != text.records().end()) finding->text += " There is \"" + other->name + "\".";
    return;
  }
  finding->text += names.front() == names.back()
                       ? " It is its own parent."
                       : " That one is at " + WhereText(_finder.find(text.placeOf(*parent))) +
                             ", and must stand in front of its children.";
}

// The line that uses the highest variable, where there is one.
void Placer::_tellOfVariable(Finding* finding) {
  const std::size_t at = finding->text.find("uses ");
  if (at == std::string::npos) return;
  const std::string number = finding->text.substr(at + 5, finding->text.find(' ', at + 5) - at - 5);
  const TextRecords& text = _textOf(*finding);
  for (const TextRecord& record : text.records()) {
    for (const TextItem& item : record.items) {
      if (record.key != "MAP" || item.value != number) continue;
      finding->text += " Variable " + number + " is at " +
                       WhereText(_finder.find(text.placeOf(record, item.offset))) + ".";
      return;
    }
  }
}

// Of two with one id or one name the reader points at the second.
void Placer::_tellOfTwin(Finding* finding) {
  const std::string_view code = finding->kind->code;
  const bool is_twin = code == "body-id-duplicate" || code == "body-mapped-twice" ||
                       code == "body-name-clash" || code == "material-name-clash" ||
                       finding->text.find("Multiple ") != std::string::npos ||
                       finding->text.find("Duplicate material") != std::string::npos;
  if (!is_twin) return;
  const TextRecords& text = _textOf(*finding);
  const TextRecord* const second = text.at(finding->where.file, finding->where.line);
  if (second == nullptr) return;
  const TextRecord* first = code == "body-name-clash" || second->id == 0
                                ? text.find(second->key, 0, second->name)
                                : text.find(second->key, second->id, {});
  if (first == nullptr || first == second) return;
  const std::string at = WhereText(_finder.find(text.placeOf(*first)));
  finding->text += finding->text.empty() ? "" : " ";
  finding->text += first->name == second->name ? "The first is at " + at + "."
                                               : "It is \"" + second->name + "\"; the first is \"" +
                                                     first->name + "\" at " + at + ".";
}

}  // namespace

void PlaceFindings(const CheckInput& input, Findings* findings) {
  Placer placer(input);
  for (Finding& finding : findings->list()) placer.place(&finding);
}
