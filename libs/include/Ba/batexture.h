// A texture of a model's material: a picture file and how it is put on.
#pragma once

#include <iosfwd>

#include "Bt/btstr.h"

class BtScanner;

// How a picture is put on, in models and in documents.
class Ba_TextureFit {
 public:
  // The texture unit, 0 by default.
  [[nodiscard]] int unit() const { return _unit; }
  void setUnit(int unit) { _unit = unit; }
  // Wrap attributes along S and T in the words of the document, such as "CLAMP" or "REPEAT"; null
  // when not given.
  [[nodiscard]] const BtStr& sAttributes() const { return _s_attributes; }
  [[nodiscard]] const BtStr& tAttributes() const { return _t_attributes; }
  void setSAttributes(const BtStr& attributes) { _s_attributes = attributes; }
  void setTAttributes(const BtStr& attributes) { _t_attributes = attributes; }
  // All of it at once.
  [[nodiscard]] const Ba_TextureFit& fit() const { return *this; }
  void setFit(const Ba_TextureFit& fit) { *this = fit; }

  friend bool operator==(const Ba_TextureFit& a, const Ba_TextureFit& b) = default;

 protected:
  Ba_TextureFit() = default;

 private:
  int _unit = 0;
  BtStr _s_attributes;
  BtStr _t_attributes;
};

// Legacy files know the file name only; the rest comes from documents and is kept for them.
class BaTexture : public Ba_TextureFit {
 public:
  // Where the picture comes from; the numbers are those of the files. Explicit images are known by
  // number only: they cannot be read.
  enum Type { FileName = 1, ExplicitImage = 2 };
  // What the picture is wrapped around.
  enum Kind { TEX_2D_DECAL, TEX_CUBE_ENV, TEX_2D_ENV, TEX_MAX_TYPES };

  [[nodiscard]] Type type() const { return _type; }
  // Null when there is no picture.
  [[nodiscard]] const BtStr& fileName() const { return _file_name; }
  void setFileName(const BtStr& name) { _file_name = name; }
  [[nodiscard]] Kind kind() const { return _kind; }
  void setKind(Kind kind) { _kind = kind; }

  // Reads a texture specification; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  // Writes the specification, each value after a blank; asserts that there is a file name.
  void printOn(std::ostream& os) const;

  friend bool operator==(const BaTexture& a, const BaTexture& b) = default;

 private:
  bool _scanFileName(BtScanner& in);

  Type _type = FileName;
  BtStr _file_name;
  Kind _kind = TEX_2D_DECAL;
};
