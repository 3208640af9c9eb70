// The rules of "check" about the mapping and its model.
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>

#include "Ba/bamapping.h"
#include "checkrules.h"
#include "style.h"

namespace {

constexpr const char* kTransformNames[] = {"tx", "ty", "tz", "rx", "ry", "rz"};

Place MappedPlace(int body_id, const BaModel& model) {
  const BaBody* body = model.findBody(body_id);
  return {"body", body == nullptr ? "" : Text(body->name()), body_id};
}

// Whether the model has so few of the mapped bodies that it must be another character's. One
// finding says so then, in place of many.
bool IsOfAnother(const CheckInput& input, Findings* findings) {
  constexpr int kFew = 3;
  int missing = 0;
  int first = 0;
  const auto& maps = input.mapping->bodyMaps();
  for (const BaUnlockedBodyMap* map : maps) {
    if (input.model.findBody(map->bodyId()) != nullptr) continue;
    if (missing++ == 0) first = map->bodyId();
  }
  if (missing <= kFew || missing * 4 < maps.count()) return false;
  findings->add(Kind("mapping-foreign"), {"body", "", first},
                std::to_string(missing) + " of " + Counted(maps.count(), "body", "bodies") +
                    " are not in the model, " + std::to_string(first) + " is the first",
                missing, {true});
  return true;
}

// The values of `transforms` that are not driven by variables only.
struct MapFaults {
  std::string constants;
  std::string constant_key;  // of the first
  bool turned = false;       // a rotation came already
  std::string late;          // a translation behind it
};

bool IsDriven(const BaUnlockedTransform& transform) {
  bool is_driven = transform.constant() != 0;
  transform.forEachSysVarId([&is_driven](int) { is_driven = true; });
  return is_driven;
}

void AddTransform(const BaUnlockedTransform& transform, double least_move, MapFaults* faults) {
  constexpr double kLeastTurn = 1;  // degrees, or radians as well
  const bool is_translation = transform.id() <= 3;
  const auto constant = static_cast<double>(transform.constant());
  if (std::fabs(constant) > (is_translation ? least_move : kLeastTurn)) {
    faults->constants += (faults->constants.empty() ? "" : ", ") +
                         std::string(kTransformNames[transform.id() - 1]) + " is " +
                         Short(constant);
    if (faults->constant_key.empty()) faults->constant_key = std::to_string(transform.id());
  }
  if (!IsDriven(transform)) return;
  if (is_translation && faults->turned && faults->late.empty()) {
    faults->late = kTransformNames[transform.id() - 1];
  }
  faults->turned |= !is_translation;
}

void CheckTransformsOf(const BaUnlockedBodyMap& map, const Place& place, double least_move,
                       Findings* findings) {
  std::set<int> ids;
  MapFaults faults;
  for (const BaUnlockedTransform& transform : map.transforms()) {
    if (ids.insert(transform.id()).second) AddTransform(transform, least_move, &faults);
  }
  if (ids.size() != kBaTransformCount) {
    std::string missing;
    for (int id = 1; id <= kBaTransformCount; ++id) {
      if (!ids.contains(id)) missing += " " + std::to_string(id);
    }
    findings->add(Kind("transform-order"), place, "it lacks" + missing, 1, {true, "order"});
  }
  if (!faults.constants.empty()) {
    findings->add(Kind("constant-offset"), place, faults.constants, 1, {true, faults.constant_key});
  }
  if (!faults.late.empty()) {
    findings->add(Kind("translation-late"), place, faults.late + " comes behind a rotation", 1,
                  {true, "order"});
  }
}

// A twentieth of the size that the joints span.
double LeastMove(const CheckInput& input) {
  const WorldTransforms worlds = WorldTransformsOf(input.model);
  Box box;
  for (const BaBody* body : input.bodies) box.add(OriginOf(worlds.at(body->id())));
  const double size = SizeOf(box);
  return size > 0 ? size / 20 : std::numeric_limits<double>::infinity();
}

void CheckMapOf(const BaUnlockedBodyMap& map, const Place& place, double least_move,
                Findings* findings) {
  const std::string letters = map.rotationLetters();
  if (letters.size() == 3 && std::set<char>(letters.begin(), letters.end()).size() == 3) {
    return CheckTransformsOf(map, place, least_move, findings);
  }
  findings->add(Kind("rotation-axes"), place,
                "it turns about " + (letters.empty() ? "nothing" : letters), 1, {true, "order"});
}

void CheckUnmapped(const CheckInput& input, Findings* findings) {
  constexpr std::size_t kFew = 3;
  std::vector<const BaBody*> unmapped;
  for (const BaBody* body : input.bodies) {
    if (input.mapping->bodyMap(body->id()) == nullptr) unmapped.push_back(body);
  }
  if (unmapped.size() > kFew && unmapped.size() * 2 > input.bodies.size()) {
    const auto count = static_cast<int>(unmapped.size());
    return findings->add(Kind("mapping-partial"), PlaceOf(*unmapped.front()),
                         Counted(count, "body", "bodies") + " of " +
                             std::to_string(input.bodies.size()) +
                             " have no map, this is the first",
                         count);
  }
  for (const BaBody* body : unmapped) findings->add(Kind("body-unmapped"), PlaceOf(*body), "");
}

void CheckBodyMaps(const CheckInput& input, Findings* findings) {
  const auto& model = input.model;
  const bool is_of_another = IsOfAnother(input, findings);
  const double least_move = LeastMove(input);
  for (const BaUnlockedBodyMap* map : input.mapping->bodyMaps()) {
    const Place place = MappedPlace(map->bodyId(), model);
    const bool is_missing = map->bodyId() <= 0 || model.findBody(map->bodyId()) == nullptr;
    if (is_missing && !is_of_another) {
      findings->add(Kind("mapped-body-missing"), place, "", 1, {true});
    }
    CheckMapOf(*map, place, least_move, findings);
  }
  if (!is_of_another) CheckUnmapped(input, findings);
}

// Variables that are the whole value of more than one transform.
void CheckVariables(const CheckInput& input, Findings* findings) {
  std::map<int, std::vector<std::string>> users;
  std::map<int, std::pair<int, std::string>> spots;  // the last user: its body and transform
  for (const BaUnlockedBodyMap* map : input.mapping->bodyMaps()) {
    std::set<int> seen;  // an order that repeats a transform lists it again
    for (const BaUnlockedTransform& transform : map->transforms()) {
      if (!transform.exists() || transform.isCombination() || transform.sysVarId() == 0) continue;
      if (!seen.insert(transform.id()).second) continue;
      const int variable = transform.sysVarId();
      spots[variable] = {map->bodyId(), std::to_string(transform.id())};
      users[variable].push_back("body " + std::to_string(map->bodyId()) + " " +
                                kTransformNames[transform.id() - 1]);
    }
  }
  for (const auto& [variable, names] : users) {
    if (names.size() < 2) continue;
    std::string text = names[0];
    for (std::size_t i = 1; i < names.size(); ++i) text += ", " + names[i];
    const auto& [body_id, key] = spots[variable];
    findings->add(Kind("variable-shared"), {"variable", "", variable}, text,
                  static_cast<int>(names.size()), {true, key, {}, {}, {}, body_id});
  }
}

void CheckSharedSliders(const CheckInput& input, Findings* findings) {
  std::map<int, std::string> sliders;  // the first of each variable
  for (const auto& map : input.mapping->blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      const std::string name = Text(slider.name);
      const auto [entry, is_new] = sliders.try_emplace(slider.sysvar_id, name);
      if (is_new || entry->second == name || slider.sysvar_id == 0) continue;
      findings->add(Kind("variable-shared"), {"variable", "", slider.sysvar_id},
                    "sliders " + entry->second + " and " + name, 2, {true, name});
    }
  }
}

// A group may be mapped in several sections.
void CheckSliderVariables(const CheckInput& input, Findings* findings) {
  std::map<std::pair<std::string, std::string>, int> variables;
  for (const auto& map : input.mapping->blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      const auto [entry, is_new] =
          variables.try_emplace({Text(map.slider_group), Text(slider.name)}, slider.sysvar_id);
      if (is_new || entry->second == slider.sysvar_id) continue;
      findings->add(
          Kind("slider-variables"), {"slider", Text(slider.name), {}},
          "variables " + std::to_string(entry->second) + " and " + std::to_string(slider.sysvar_id),
          1, {true, Text(slider.name), std::to_string(slider.sysvar_id)});
    }
  }
}

void CheckSliders(const CheckInput& input, Findings* findings) {
  std::set<std::pair<std::string, std::string>> mapped;
  for (const auto& map : input.mapping->blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      mapped.insert({Text(map.slider_group), Text(slider.name)});
    }
  }
  std::set<std::pair<std::string, std::string>> known;
  for (const auto& group : input.model.sliderGroups()) {
    for (const BtStr& slider : group->sliders()) known.insert({Text(group->name()), Text(slider)});
  }
  for (const auto& [group, slider] : mapped) {
    if (known.contains({group, slider})) continue;
    findings->add(Kind("slider-unknown"), {"slider", slider, {}}, "of the group " + group, 1,
                  {true, slider});
  }
  for (const auto& [group, slider] : known) {
    if (mapped.contains({group, slider})) continue;
    findings->add(Kind("slider-unmapped"), {"slider", slider, {}}, "of the group " + group, 1,
                  {false, slider});
  }
}

void CheckTextureMaps(const CheckInput& input, Findings* findings) {
  for (const auto& map : input.mapping->textureIndexMaps()) {
    if (input.model.materialById(map.material_id) != nullptr) continue;
    findings->add(Kind("texture-map-unknown"), {"material", "", map.material_id},
                  "driven by variable " + std::to_string(map.sysvar_id), 1,
                  {true, std::to_string(map.material_id)});
  }
}

constexpr CheckRule kMappingRules[] = {CheckBodyMaps,        CheckVariables, CheckSharedSliders,
                                       CheckSliderVariables, CheckSliders,   CheckTextureMaps};

}  // namespace

std::span<const CheckRule> MappingRules() { return kMappingRules; }
