// A body of a model document: its name and id, its parent by name and its coordinate system.
#pragma once

#include <iosfwd>
#include <optional>

#include "Ba/bakey.h"
#include "Ba/bamdcoordsys.h"
#include "Bt/btstr.h"

class BaMDSource;

class BaMDBody {
 public:
  // The parent name that stands for the world.
  static constexpr const char* kWorldName = "GLOBAL";

  // The setters of names and id assert that no document owns the body, which is looked up by them;
  // BaModelData::changeBodyNames renames the bodies of a document.
  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  void setName(const BtStr& name) { _name.set(name); }
  [[nodiscard]] bool hasId() const { return _id.get().has_value(); }
  // Asserts hasId().
  [[nodiscard]] int id() const;
  void setId(int id) { _id.set(id); }
  // Null until it is set.
  [[nodiscard]] const BtStr& parentName() const { return _parent_name.get(); }
  void setParentName(const BtStr& name) { _parent_name.set(name); }
  [[nodiscard]] bool isTopLevel() const { return parentName() == kWorldName; }
  [[nodiscard]] const BaMDCoordSys& coordSys() const { return _coord_sys; }
  void setCoordSys(const BaMDCoordSys& coord_sys) { _coord_sys = coord_sys; }

  // Reads the text of a BODY block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the section; asserts that both names are set.
  bool printOn(std::ostream& os) const;

  friend bool operator==(const BaMDBody& a, const BaMDBody& b) = default;

 private:
  friend class BaMDSource;
  friend class BaModelData;

  bool _scanFrom(BaMDSource& source);

  BaKey<BtStr> _name;
  BaKey<std::optional<int>> _id;
  BaMDCoordSys _coord_sys;
  BaKey<BtStr> _parent_name;
};
