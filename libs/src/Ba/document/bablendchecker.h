// Whether the sliders exist that blends name.
#pragma once

#include "Ba/bamdslidergroup.h"
#include "Ba/bamdvertexeffects.h"
#include "Bt/bthash.h"

// What a group has is gathered once.
class BaBlendChecker {
 public:
  // False, with an error recorded, when `group` is null or has no slider of the blend's name.
  bool check(const BaMDBlendVEffects& blend, const BaMDSliderGroup* group);

 private:
  BtHashMap<const BaMDSliderGroup*, BtHashSet<BtStr>> _sliders_of;
};
