// What lights and lighting models have in common: their form in files differs in codes only.
#pragma once

#include <iosfwd>

#include "Ba/balightattr.h"

class Ba_LightRecord {
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

 protected:
  // How records of a kind look, and what is said of those that cannot be read.
  struct Form {
    const char* letter;
    const char* name;
    int Ba_LightAttrInfo::*code;
    const char *no_id, *no_switch, *no_code, *unknown_code;
  };
  explicit Ba_LightRecord(const Form& form) : _form(&form) {}

 private:
  bool _scanAttribute(int code, BtScanner& in);
  // Brings the exponent of a spot light into its range, with a warning.
  void _clipSpotExponent();

  const Form* _form;
  int _id = -1;
  bool _on = false;
  BaLightAttrs _attributes;
};
