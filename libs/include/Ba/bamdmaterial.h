// A material of a model document: colours, shininess, opacity and textures.
#pragma once

#include <iosfwd>
#include <memory>

#include "Ba/bakey.h"
#include "Ba/bamdtexture.h"
#include "Bt/btfloatarray.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;

// Colours hold as many components as were read, three as a rule and none when not given.
class BaMDMaterial {
 public:
  BaMDMaterial() = default;
  BaMDMaterial(const BaMDMaterial&) = delete;
  BaMDMaterial& operator=(const BaMDMaterial&) = delete;
  ~BaMDMaterial();

  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  // Asserts that nothing owns the material, which is looked up by its name.
  void setName(const BtStr& name) { _name.set(name); }
  [[nodiscard]] const BtFloatArray& emission() const { return _emission; }
  [[nodiscard]] const BtFloatArray& ambient() const { return _ambient; }
  [[nodiscard]] const BtFloatArray& diffuse() const { return _diffuse; }
  [[nodiscard]] const BtFloatArray& specular() const { return _specular; }
  void setEmission(const BtFloatArray& colour) { _emission = colour; }
  void setAmbient(const BtFloatArray& colour) { _ambient = colour; }
  void setDiffuse(const BtFloatArray& colour) { _diffuse = colour; }
  void setSpecular(const BtFloatArray& colour) { _specular = colour; }
  [[nodiscard]] float shininess() const { return _shininess; }
  void setShininess(float shininess) { _shininess = shininess; }
  // Opacity: 1 is opaque.
  [[nodiscard]] float alpha() const { return _alpha; }
  void setAlpha(float alpha) { _alpha = alpha; }
  // Owned by the material.
  [[nodiscard]] const BtList<BaMDTexture*>& textures() const { return _textures; }
  BaMDTexture* addTexture(std::unique_ptr<BaMDTexture> texture);

  // Reads the text of a MATERIAL block; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BaMDSource& source);
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaModelData;

  BaKey<BtStr> _name;
  BtFloatArray _emission;
  BtFloatArray _ambient;
  BtFloatArray _diffuse;
  BtFloatArray _specular;
  float _shininess = 0;
  float _alpha = 1;
  BtList<BaMDTexture*> _textures;
};
