// Motion that tries out a mapping: each variable swings in turn.
#pragma once

#include "driventext.h"

class BaMotion;

struct Swings {
  double rate = 30;     // frames per second
  double seconds = 2;   // of each variable
  double angle = 45;    // to either side, in the unit of the variables
  double distance = 1;  // to either side
};

// Replaces `motion`. A variable swings so far that nothing that it drives goes beyond the angle or
// the distance; one that drives sliders alone goes from 0 to 1 and back. Bodies come in the order
// of `order`, their transforms as they are applied, then the sliders. Variables that choose
// textures only, or move nothing, do not swing. Comments tell when each has its turn. False, with
// an error recorded, where no variable would swing or there would be too many values.
bool MakeRangeOfMotion(const BaUnlockedMapping& mapping, const std::vector<int>& order,
                       const BodyNames& names, const Swings& swings, BaMotion* motion);
