// Whether the sliders exist that blends name.
#pragma once

#include <unordered_map>
#include <unordered_set>

#include "bamdslidergroup.h"
#include "bamdvertexeffects.h"
#include "banamemap.h"

// What a group has is gathered once.
class BaBlendChecker {
 public:
  // False, with an error recorded, when `group` is null or has no slider of the blend's name.
  bool check(const BaMDBlendVEffects& blend, const BaMDSliderGroup* group);

 private:
  std::unordered_map<const BaMDSliderGroup*, std::unordered_set<BtStr, BaNameHash>> _sliders_of;
};
