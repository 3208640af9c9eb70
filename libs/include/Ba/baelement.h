// The base of everything that belongs to one body and has one material: bones, polygons, meshes.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "Bt/btassert.h"

class BtScanner;

// Bodies and materials are referred to by id, as in the files.
class BaElement {
 public:
  [[nodiscard]] int bodyId() const { return _body_id; }
  [[nodiscard]] int materialId() const { return _material_id; }
  void setBodyId(int id) { _body_id = id; }
  void setMaterialId(int id) { _material_id = id; }
  // Moves the element to body `new_id` if it belongs to body `old_id`.
  void changeBodyId(int old_id, int new_id) {
    if (_body_id == old_id) _body_id = new_id;
  }

  // False for an object that was destroyed or overwritten.
  [[nodiscard]] bool isValid() const { return _magic_number == kMagicNumber; }

 protected:
  BaElement() = default;
  BaElement(int body_id, int material_id) : _body_id(body_id), _material_id(material_id) {}
  BaElement(const BaElement&) = default;
  BaElement& operator=(const BaElement&) = default;
  ~BaElement() { _magic_number = 0; }

  // Reads the body id and the material id; false after a recorded error.
  bool _scanIds(BtScanner& in);

 private:
  static constexpr std::uint16_t kMagicNumber = 0xBAE1;

  int _body_id = -1;
  int _material_id = -1;
  // Volatile: the destructor's mark must be written.
  volatile std::uint16_t _magic_number = kMagicNumber;
};
