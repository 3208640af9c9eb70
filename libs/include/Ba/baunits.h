// The unit in which lengths or angles of a model are given.
#pragma once

#include "Bt/btstr.h"

// Values times `factor` are in the named unit: "INCHES" or "METERS", "RADIANS" or "DEGREES".
struct BaUnits {
  BtStr name;
  float factor = 1.0F;

  friend bool operator==(const BaUnits& a, const BaUnits& b) = default;
};
