// Texture coordinates of one corner of a polygon.
#pragma once

#include <tuple>

struct BaTextureCoords {
  float u = 0;
  float v = 0;

  friend bool operator==(const BaTextureCoords& a, const BaTextureCoords& b) = default;
  // By u, then by v.
  friend bool operator<(const BaTextureCoords& a, const BaTextureCoords& b) {
    return std::tie(a.u, a.v) < std::tie(b.u, b.v);
  }
};
