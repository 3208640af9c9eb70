// The rules of "check" about what readers pass over: units of angles that do not fit, sections that
// nobody reads.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numbers>
#include <sstream>

#include "checkrules.h"
#include "style.h"
#include "textrecords.h"

namespace {

constexpr double kTurn = 2 * std::numbers::pi;
constexpr double kNear = 1e-4;
constexpr double kMostTurns = 100;

// The three numbers of a rotation.
Point AnglesOf(std::string_view text) {
  Point angles = {};
  const char* p = text.data();
  const char* const end = p + text.size();
  for (double& angle : angles) {
    while (p != end && (*p == ' ' || *p == '\t' || *p == '+')) ++p;
    p = std::from_chars(p, end, angle).ptr;
  }
  return angles;
}

// The rotations of one file's bodies.
struct Angles {
  int beyond_turn = 0;  // bodies
  const TextRecord* first_beyond = nullptr;
  double largest = 0;
  const TextRecord* quarter = nullptr;  // the first that has pi or a half of it
  const TextRecord* first_odd = nullptr;
  bool is_degrees = false;
  bool is_radians = true;
};

void AddAngles(const TextRecord& body, Angles* angles) {
  const TextItem* const item = body.find("ROTATION");
  if (item == nullptr) return;
  double largest = 0;
  for (const double angle : AnglesOf(item->value)) {
    const double size = std::fabs(angle);
    largest = std::max(largest, size);
    const bool is_quarter = std::fabs(size - std::numbers::pi) < kNear ||
                            std::fabs(size - std::numbers::pi / 2) < kNear;
    if (is_quarter && angles->quarter == nullptr) angles->quarter = &body;
  }
  angles->largest = std::max(angles->largest, largest);
  if (largest > 360 * kMostTurns && angles->first_odd == nullptr) angles->first_odd = &body;
  if (largest <= kTurn + kNear) return;
  ++angles->beyond_turn;
  if (angles->first_beyond == nullptr) angles->first_beyond = &body;
}

Place BodyPlace(const TextRecord& record) {
  return {"body", record.name, record.id == 0 ? std::nullopt : std::optional(record.id)};
}

Angles AnglesOfFile(const TextRecords& text, std::size_t file) {
  Angles angles;
  for (const TextRecord& record : text.records()) {
    if (record.file != file) continue;
    if (record.key == "BODY") AddAngles(record, &angles);
    const TextItem* const unit = record.key == "UNITS" ? record.find("ANGLE") : nullptr;
    if (unit == nullptr) continue;
    // With another factor nobody can tell.
    angles.is_radians = unit->value.starts_with("1 ") && unit->value.ends_with("RADIANS");
    angles.is_degrees = unit->value.starts_with("1 ") && unit->value.ends_with("DEGREES");
  }
  return angles;
}

void CheckAnglesOfFile(const TextRecords& text, std::size_t file, Findings* findings) {
  const Angles angles = AnglesOfFile(text, file);
  const Spot spot = {false, "ROTATION"};
  if (angles.is_degrees && angles.first_odd != nullptr) {
    findings->add(Kind("number-odd"), BodyPlace(*angles.first_odd),
                  "it turns by up to " + Short(angles.largest) + " degrees", 1, spot);
  }
  if (angles.is_radians && angles.beyond_turn > 0) {
    findings->add(Kind("angles-degrees"), BodyPlace(*angles.first_beyond),
                  Counted(angles.beyond_turn, "body turns", "bodies turn") + " by up to " +
                      Short(angles.largest) + " radians",
                  angles.beyond_turn, spot);
  }
  if (angles.is_degrees && angles.quarter != nullptr && angles.largest <= kTurn + kNear) {
    findings->add(
        Kind("angles-radians"), BodyPlace(*angles.quarter),
        "no angle is above " + Short(angles.largest) + " degrees, and some are parts of pi", 1,
        spot);
  }
}

void CheckAngles(const CheckInput& input, Findings* findings) {
  if (input.model.version() < 2.0F) return;
  const TextRecords& text = input.texts->model();
  for (std::size_t file = 0; file < text.files().size(); ++file) {
    CheckAnglesOfFile(text, file, findings);
  }
}

// Readers take what there is.
void CheckColours(const CheckInput& input, Findings* findings) {
  constexpr std::string_view kColours[] = {"EMISSION", "AMBIENT", "DIFFUSE", "SPECULAR"};
  if (input.model.version() < 2.0F) return;
  for (const TextRecord& record : input.texts->model().records()) {
    for (const TextItem& item : record.items) {
      if (record.key != "MATERIAL" || std::ranges::count(kColours, item.key) == 0) continue;
      std::istringstream words{std::string(item.value)};
      const auto count = std::distance(std::istream_iterator<std::string>(words), {});
      if (count == 3) continue;
      findings->add(Kind("colour-incomplete"), {"material", record.name, {}},
                    std::string(item.key) + " has " + Counted(count, "number", "numbers"), 1,
                    {false, std::string(item.key)});
    }
  }
}

// Legacy bodies name their parents twice.
void CheckParentNames(const CheckInput& input, Findings* findings) {
  if (input.model.version() >= 2.0F) return;
  const TextRecords& text = input.texts->model();
  for (const TextRecord& record : text.records()) {
    if (record.key != "BODY") continue;
    const std::string& all = text.files()[record.file]->text;
    std::istringstream lines(all.substr(record.offset, record.end - record.offset));
    std::array<std::string, 5> fields;  // the letter, name, id, name of the parent, its id
    for (std::string& field : fields) lines >> std::ws&& std::getline(lines, field);
    std::string& name = fields[3];
    name.erase(name.find_last_not_of(" \t\r") + 1);
    const BaBody* const body = input.model.findBody(record.id);
    const BaBody* const parent = body == nullptr ? nullptr : input.model.findBody(body->parentId());
    if (parent == nullptr || parent->id() == 0 || Text(parent->name()) == name) continue;
    if (text.find("BODY", 0, name) == nullptr) continue;
    findings->add(Kind("parent-name"), BodyPlace(record),
                  "the parent is called " + name + ", but body " + std::to_string(parent->id()) +
                      " is " + Text(parent->name()));
  }
}

void CheckEnd(const TextRecords& text, const Place& place, Findings* findings) {
  for (const TextRecord& record : text.records()) {
    if (record.key != "END") continue;
    const TextFile& file = *text.files()[record.file];
    const std::size_t more = file.text.find_first_not_of(" \t\r\n", record.end);
    if (more == std::string::npos) continue;
    const std::string word =
        file.text.substr(more, file.text.find_first_of(" :{\r\n", more) - more);
    Finding finding = {Kind("after-end"), place, "the first of it is " + word};
    finding.where = WhereFinder().find(text.placeOf(record, more));
    findings->add(std::move(finding));
  }
}

void CheckEnds(const CheckInput& input, Findings* findings) {
  if (input.model.version() >= 2.0F) {
    CheckEnd(input.texts->model(), {"model", input.model_file, {}}, findings);
  }
  if (input.mapping == nullptr) return;
  CheckEnd(input.texts->mapping(), {"mapping", input.dof_file, {}}, findings);
}

constexpr CheckRule kTextRules[] = {CheckAngles, CheckColours, CheckParentNames, CheckEnds};

}  // namespace

std::span<const CheckRule> TextRules() { return kTextRules; }
