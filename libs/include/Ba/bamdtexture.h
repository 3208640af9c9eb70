// A texture of a material: a picture file by name and how it is put on.
#pragma once

#include <iosfwd>

#include "Ba/batexture.h"
#include "Bt/btstr.h"

class BaMDSource;

// What a texture is wrapped around: a surface by its texture coordinates, or the surroundings.
enum class BaMDTexture_t { Decal2D, CubeEnv, Env2D };

class BaMDTexture : public Ba_TextureFit {
 public:
  // The file name as written in the document: relative to the document's folder or absolute.
  [[nodiscard]] const BtStr& name() const { return _name; }
  void setName(const BtStr& name) { _name = name; }
  [[nodiscard]] BaMDTexture_t type() const { return _type; }
  void setType(BaMDTexture_t type) { _type = type; }

  // Reads the text of a TEXTURE block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

  friend bool operator==(const BaMDTexture& a, const BaMDTexture& b) = default;

 private:
  friend class BaMDSource;

  bool _scanFrom(BaMDSource& source);

  BtStr _name;
  BaMDTexture_t _type = BaMDTexture_t::Decal2D;
};
