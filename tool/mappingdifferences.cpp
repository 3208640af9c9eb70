// What differs between two mappings.
#include <algorithm>
#include <cmath>
#include <map>

#include "Ba/bamapping.h"
#include "differences.h"
#include "messages.h"
#include "style.h"

namespace {

constexpr const char* kTransformNames[] = {"tx", "ty", "tz", "rx", "ry", "rz"};

std::string OrderText(const BaUnlockedBodyMap& map) {
  std::string text;
  for (const BaUnlockedTransform& transform : map.transforms()) {
    text += (text.empty() ? "" : " ") + std::string(kTransformNames[transform.id() - 1]);
  }
  return text;
}

std::string TransformText(const BaUnlockedTransform* transform) {
  if (transform == nullptr || !transform->exists()) return "nothing";
  if (!transform->isCombination()) return "v" + std::to_string(transform->sysVarId());
  std::string text = Short(static_cast<double>(transform->constant()));
  for (const auto& term : transform->terms()) {
    text += " + " + Short(static_cast<double>(term.coefficient)) + " v" +
            std::to_string(term.sysvar_id);
  }
  return text;
}

// True when both are driven alike, numbers within the tolerance.
bool Alike(const BaUnlockedTransform* a, const BaUnlockedTransform* b, double tolerance) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a->exists() != b->exists() || a->isCombination() != b->isCombination()) return false;
  if (!a->exists()) return true;
  if (!a->isCombination()) return a->sysVarId() == b->sysVarId();
  const auto near = [tolerance](float x, float y) {
    return std::fabs(static_cast<double>(x) - static_cast<double>(y)) <= tolerance;
  };
  return near(a->constant(), b->constant()) &&
         std::equal(a->terms().begin(), a->terms().end(), b->terms().begin(), b->terms().end(),
                    [&](const auto& x, const auto& y) {
                      return x.sysvar_id == y.sysvar_id && near(x.coefficient, y.coefficient);
                    });
}

void DiffBodyMaps(const BaUnlockedBodyMap& a, const BaUnlockedBodyMap& b, double tolerance,
                  std::vector<Difference>* found) {
  const std::string name = std::to_string(a.bodyId());
  if (OrderText(a) != OrderText(b)) {
    found->push_back({"order-changed", "body", name, OrderText(a), OrderText(b)});
  }
  for (int id = 1; id <= kBaTransformCount; ++id) {
    const BaUnlockedTransform* in_a = FindTransform(a.transforms(), id);
    const BaUnlockedTransform* in_b = FindTransform(b.transforms(), id);
    if (Alike(in_a, in_b, tolerance)) continue;
    const std::string transform = std::string(kTransformNames[id - 1]) + " ";
    found->push_back({"transform-changed", "body", name, transform + TransformText(in_a),
                      transform + TransformText(in_b)});
  }
}

// What drives textures and sliders, by what is driven.
std::map<std::string, std::string> OthersOf(const BaUnlockedMapping& mapping) {
  std::map<std::string, std::string> others;
  for (const auto& map : mapping.textureIndexMaps()) {
    others["material " + std::to_string(map.material_id)] = "v" + std::to_string(map.sysvar_id);
  }
  for (const auto& map : mapping.blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      others["slider " + Text(map.slider_group) + " / " + Text(slider.name)] =
          "v" + std::to_string(slider.sysvar_id);
    }
  }
  return others;
}

}  // namespace

std::vector<Difference> DiffMappings(const BaUnlockedMapping& a, const BaUnlockedMapping& b,
                                     double tolerance) {
  std::vector<Difference> found;
  if (a.numSysVars() != b.numSysVars()) {
    found.push_back({"variable-count", "mapping", "variables", std::to_string(a.numSysVars()),
                     std::to_string(b.numSysVars())});
  }
  for (const BaUnlockedBodyMap* map : a.bodyMaps()) {
    const BaUnlockedBodyMap* other = b.bodyMap(map->bodyId());
    if (other == nullptr) {
      found.push_back({"map-removed", "body", std::to_string(map->bodyId()), "mapped", ""});
    } else {
      DiffBodyMaps(*map, *other, tolerance, &found);
    }
  }
  for (const BaUnlockedBodyMap* map : b.bodyMaps()) {
    if (a.bodyMap(map->bodyId()) != nullptr) continue;
    found.push_back({"map-added", "body", std::to_string(map->bodyId()), "", "mapped"});
  }
  auto others = OthersOf(b);
  for (const auto& [name, driver] : OthersOf(a)) {
    const std::string other = others[name];
    others.erase(name);
    if (driver != other) found.push_back({"driver-changed", "mapping", name, driver, other});
  }
  for (const auto& [name, driver] : others) {
    found.push_back({"driver-changed", "mapping", name, "", driver});
  }
  return found;
}
