// A point or an offset of a model document, in its length unit.
#pragma once

struct BaMDPoint {
  float x = 0;
  float y = 0;
  float z = 0;

  friend bool operator==(const BaMDPoint& a, const BaMDPoint& b) = default;
};
