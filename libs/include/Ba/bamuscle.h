// A muscle: a named line over several bodies.
#pragma once

#include <iosfwd>

#include "Bt/array.h"
#include "Bt/btstr.h"

class BtScanner;

class BaMuscle {
 public:
  [[nodiscard]] int materialId() const { return _material_id; }
  void setMaterialId(int id) { _material_id = id; }
  [[nodiscard]] const BtStr& name() const { return _name; }
  void setName(const BtStr& name) { _name = name; }
  // The ids of the bodies that the muscle runs over, in order. Nothing says that they exist.
  [[nodiscard]] const BtDArray<int>& bodyIds() const { return _body_ids; }
  BtDArray<int>& bodyIds() { return _body_ids; }

  // Reads what follows the record letter; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  void printOn(std::ostream& os) const;

 private:
  bool _scanName(BtScanner& in);
  bool _scanBodyIds(BtScanner& in);

  int _material_id = -1;
  BtStr _name;
  BtDArray<int> _body_ids;
};
