// A lighting model: how all lights together light the model.
#pragma once

#include <iosfwd>

#include "Ba/balightattr.h"

class BaLightingModel {
 public:
  [[nodiscard]] int id() const { return _id; }
  void setId(int id) { _id = id; }
  [[nodiscard]] bool on() const { return _on; }
  void setOn(bool on) { _on = on; }
  [[nodiscard]] const BaLightAttrs& attributes() const { return _attributes; }
  BaLightAttrs& attributes() { return _attributes; }

  // Reads what follows the record letter; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  void printOn(std::ostream& os) const;

 private:
  bool _scanAttribute(int code, BtScanner& in);

  int _id = -1;
  bool _on = false;
  BaLightAttrs _attributes;
};
