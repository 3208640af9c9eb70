// Where the bodies of a model stand in the world when a mapping and captured values move them.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "Ba/baframe.h"
#include "Bt/btfloatmat.h"

class BaBody;
class BaModel;
class BaMotion;
class BaUnlockedBodyMap;
class BaUnlockedMapping;

// Puts the tree of a model in order once and poses it for any number of frames. Model and mapping
// must outlive it unchanged.
class BaPoser {
 public:
  // Without a mapping, null, all bodies stay at rest.
  BaPoser(const BaModel& model, const BaUnlockedMapping* mapping, BaVariableUnits units = {});

  // All bodies but the reference body, depth first, parents before their children.
  [[nodiscard]] const std::vector<const BaBody*>& bodies() const { return _bodies; }
  // The bodies' places in the world at rest, in their order. Matrices are for row vectors: rows 0
  // to 2 are the body's axes, row 3 is its origin, in the model's unit of lengths.
  [[nodiscard]] const std::vector<Bt4X4DoubleMat>& rest() const { return _rest; }
  // The places in a frame. There must be room for all bodies.
  void pose(const BaFrame& frame, std::span<Bt4X4DoubleMat> places) const;
  // The same for a frame of a motion, counted from 0.
  void pose(const BaMotion& motion, int frame, std::span<Bt4X4DoubleMat> places) const;

 private:
  struct Joint {
    int parent;                    // its place among the bodies, -1 for the world
    Bt4X4DoubleMat rest;           // as the parent sees it
    const BaUnlockedBodyMap* map;  // null for a body that is not driven
  };

  // value_of(id) is the value of a variable.
  template <class Frame>
  void _pose(const Frame& value_of, std::span<Bt4X4DoubleMat> places) const;

  BaVariableUnits _units;
  std::vector<const BaBody*> _bodies;
  std::vector<Joint> _joints;  // in the same order
  std::vector<Bt4X4DoubleMat> _rest;
};
