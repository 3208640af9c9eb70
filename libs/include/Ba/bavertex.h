// A corner of a polygon or mesh: a position and the effects on it.
#pragma once

#include <iosfwd>

#include "Ba/bavertexeffects.h"

class BtScanner;

// Positions are in the system of the body that the vertex belongs to. Millions of vertices make a
// model, so one without effects is nothing but its three floats and a zero.
class BaVertex {
 public:
  BaVertex() = default;
  BaVertex(float x, float y, float z) : _position{x, y, z} {}

  // Three floats: x, y, z.
  [[nodiscard]] const float* position() const { return _position; }
  void setPosition(float x, float y, float z) {
    _position[0] = x;
    _position[1] = y;
    _position[2] = z;
  }
  [[nodiscard]] const BaVertexEffects& effects() const { return _effects; }
  BaVertexEffects& effects() { return _effects; }

  // Reads x, y, z and effects up to the type -1; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  // Reads the effects alone, in place of those that are there.
  bool scanEffectsFrom(BtScanner& in);
  // Writes what scanFrom reads, each value after a blank.
  void printOn(std::ostream& os) const;

  // Vertices are equal where their positions are, exactly: effects do not tell corners apart.
  friend bool operator==(const BaVertex& a, const BaVertex& b) {
    return a._position[0] == b._position[0] && a._position[1] == b._position[1] &&
           a._position[2] == b._position[2];
  }

 private:
  float _position[3] = {};
  BaVertexEffects _effects;
};

static_assert(sizeof(BaVertex) <= 16);
