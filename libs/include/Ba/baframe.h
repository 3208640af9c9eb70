// A frame: the values of system variables at one moment.
#pragma once

#include "Bt/bthash.h"

// Captured variables are numbers without a unit of their own: what they drive says whether a value
// is a length, an angle, the share of a slider or the index of a texture. Variable 0, which stands
// for none, and variables that the frame does not hold are 0.
class BaFrame {
 public:
  // The value of a variable.
  [[nodiscard]] double operator()(int sysvar_id) const {
    const auto found = _values.find(sysvar_id);
    return found == _values.end() ? 0 : found->second;
  }
  // Sets a variable, 1 or above, which the frame holds from then on.
  void set(int sysvar_id, double value) { _values[sysvar_id] = value; }
  [[nodiscard]] bool holds(int sysvar_id) const { return _values.contains(sysvar_id); }

 private:
  BtHashMap<int, double> _values;  // asked, never walked
};

// What one unit of a variable is. Constants of a mapping are in the unit of the variables: the
// whole value of a transform is converted.
struct BaVariableUnits {
  static constexpr double kRadiansPerDegree = 0.017453292519943295;

  double angle = kRadiansPerDegree;  // in radians: angles are degrees unless this says otherwise
  double length = 1;                 // in the unit of lengths of the model
};
