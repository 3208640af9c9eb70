// A named group of sliders; each slider drives one blend of vertex positions.
#pragma once

#include <iosfwd>

#include "Ba/bakey.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;

class BaMDSliderGroup {
 public:
  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  // Asserts that nothing owns the group, which is looked up by its name.
  void setName(const BtStr& name) { _name.set(name); }
  // Names of the sliders, in order.
  [[nodiscard]] const BtList<BtStr>& sliders() const { return _sliders; }
  void addSlider(const BtStr& name) { _sliders.append(name); }

  // Reads the text of a SLIDER_GROUP block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

  friend bool operator==(const BaMDSliderGroup& a, const BaMDSliderGroup& b) = default;

 private:
  friend class BaMDSource;
  friend class BaModel;
  friend class BaModelData;

  bool _scanFrom(BaMDSource& source);

  BaKey<BtStr> _name;
  BtList<BtStr> _sliders;
};
