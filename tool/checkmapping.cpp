// The rules of "check" about the mapping and its model.
#include <map>
#include <set>
#include <utility>

#include "Ba/bamapping.h"
#include "checkrules.h"
#include "style.h"

namespace {

Place MappedPlace(int body_id, const BaModel& model) {
  const BaBody* body = model.findBody(body_id);
  return {"body", body == nullptr ? "" : Text(body->name()), body_id};
}

void CheckBodyMaps(const CheckInput& input, Findings* findings) {
  const auto& model = input.model;
  for (const BaUnlockedBodyMap* map : input.mapping->bodyMaps()) {
    const Place place = MappedPlace(map->bodyId(), model);
    if (map->bodyId() <= 0 || model.findBody(map->bodyId()) == nullptr) {
      findings->add(Kind("mapped-body-missing"), place, "the model has no body of this id", 1,
                    {true});
    }
    const std::string letters = map->rotationLetters();
    if (std::set<char>(letters.begin(), letters.end()).size() != 3 || letters.size() != 3) {
      findings->add(Kind("rotation-axes"), place,
                    "it turns about " + (letters.empty() ? "nothing" : letters), 1,
                    {true, "order"});
    }
  }
  for (const BaBody* body : input.bodies) {
    if (input.mapping->bodyMap(body->id()) == nullptr) {
      findings->add(Kind("body-unmapped"), PlaceOf(*body), "");
    }
  }
}

// Variables that are the whole value of more than one transform.
void CheckVariables(const CheckInput& input, Findings* findings) {
  constexpr const char* kNames[] = {"tx", "ty", "tz", "rx", "ry", "rz"};
  std::map<int, std::vector<std::string>> users;
  for (const BaUnlockedBodyMap* map : input.mapping->bodyMaps()) {
    std::set<int> seen;  // an order that repeats a transform lists it again
    for (const BaUnlockedTransform& transform : map->transforms()) {
      if (!transform.exists() || transform.isCombination() || transform.sysVarId() == 0) continue;
      if (!seen.insert(transform.id()).second) continue;
      users[transform.sysVarId()].push_back("body " + std::to_string(map->bodyId()) + " " +
                                            kNames[transform.id() - 1]);
    }
  }
  for (const auto& [variable, names] : users) {
    if (names.size() < 2) continue;
    std::string text = names[0];
    for (std::size_t i = 1; i < names.size(); ++i) text += ", " + names[i];
    findings->add(Kind("variable-shared"), {"variable", "", variable}, text,
                  static_cast<int>(names.size()));
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

constexpr CheckRule kMappingRules[] = {CheckBodyMaps, CheckVariables, CheckSliders,
                                       CheckTextureMaps};

}  // namespace

std::span<const CheckRule> MappingRules() { return kMappingRules; }
