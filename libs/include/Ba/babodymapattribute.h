// One transform of a mapped body as a named number that a frame of motion holds.
#pragma once

#include "Ba/babodymap.h"
#include "Bt/btstr.h"

// Holds a copy of the transform, so it may outlive the body map. A frame is the array of all system
// variables; variable id i stands at index i - 1.
class BaBodyMapAttribute {
 public:
  // The transform of this id, 1 to 6, of a body.
  BaBodyMapAttribute(const BaUnlockedBodyMap& body_map, int transform_id);

  // "body%d.%s": the body id and the name of the transform, such as "body7.xRotation".
  [[nodiscard]] BtStr name() const;
  // True when one variable is the value, which can then be written. Not so for a combination, for a
  // transform that nothing drives and for one that the body does not have.
  [[nodiscard]] bool hasNumericType() const;
  // The value in a frame; 0 for a transform that nothing drives.
  [[nodiscard]] float getNumericValue(const BtArray<float>& frame) const;
  // Asserts hasNumericType().
  void setNumericValue(BtArray<float>* frame, float value) const;

 private:
  int _body_id;
  BaUnlockedTransform _transform;
};
