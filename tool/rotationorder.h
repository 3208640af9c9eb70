// The rotations of a body map as letters.
#pragma once

#include <string>

#include "Ba/babodymap.h"

// The axes of the rotations in the order in which they are applied, such as "ZYX". A map that
// does not turn about each axis once has other letters.
inline std::string RotationLetters(const BaUnlockedBodyMap& map) {
  std::string letters;
  for (const BaUnlockedTransform& transform : map.transforms()) {
    if (transform.isRotation())
      letters += static_cast<char>('X' + static_cast<int>(transform.axis()));
  }
  return letters;
}
