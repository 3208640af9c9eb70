// A material of a model document: colours, shininess, opacity and textures.
#pragma once

#include <array>
#include <iosfwd>
#include <memory>

#include "Ba/bakey.h"
#include "Ba/bamaterialattr.h"
#include "Ba/bamdtexture.h"
#include "Bt/array.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;

// Colours hold as many components as were read, three as a rule and none when not given. Other
// attributes hold one number.
class BaMDMaterial {
 public:
  BaMDMaterial();
  BaMDMaterial(const BaMDMaterial&) = delete;
  BaMDMaterial& operator=(const BaMDMaterial&) = delete;
  ~BaMDMaterial();

  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  // Asserts that nothing owns the material, which is looked up by its name.
  void setName(const BtStr& name) { _name.set(name); }
  // The numbers of an attribute.
  [[nodiscard]] const BtFloatArray& values(Ba_MatAttr_t kind) const {
    return _values[static_cast<std::size_t>(kind)];
  }
  // Asserts that there is one number unless the attribute is a colour.
  void setValues(Ba_MatAttr_t kind, const BtFloatArray& values);
  [[nodiscard]] const BtFloatArray& emission() const { return values(Ba_MatAttr_t::Emission); }
  [[nodiscard]] const BtFloatArray& ambient() const { return values(Ba_MatAttr_t::Ambient); }
  [[nodiscard]] const BtFloatArray& diffuse() const { return values(Ba_MatAttr_t::Diffuse); }
  [[nodiscard]] const BtFloatArray& specular() const { return values(Ba_MatAttr_t::Specular); }
  void setEmission(const BtFloatArray& colour) { setValues(Ba_MatAttr_t::Emission, colour); }
  void setAmbient(const BtFloatArray& colour) { setValues(Ba_MatAttr_t::Ambient, colour); }
  void setDiffuse(const BtFloatArray& colour) { setValues(Ba_MatAttr_t::Diffuse, colour); }
  void setSpecular(const BtFloatArray& colour) { setValues(Ba_MatAttr_t::Specular, colour); }
  [[nodiscard]] float shininess() const { return values(Ba_MatAttr_t::Shininess)[0]; }
  void setShininess(float shininess) { setValues(Ba_MatAttr_t::Shininess, {shininess}); }
  // Opacity: 1 is opaque.
  [[nodiscard]] float alpha() const { return values(Ba_MatAttr_t::Alpha)[0]; }
  void setAlpha(float alpha) { setValues(Ba_MatAttr_t::Alpha, {alpha}); }
  // Owned by the material.
  [[nodiscard]] const BtList<BaMDTexture*>& textures() const { return _textures; }
  BaMDTexture* addTexture(std::unique_ptr<BaMDTexture> texture);

  // Reads the text of a MATERIAL block; false after a recorded error.
  bool scanFrom(std::istream& is);
  // Writes the section; asserts that the name is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaMDSource;
  friend class BaModelData;

  bool _scanFrom(BaMDSource& source);

  BaKey<BtStr> _name;
  std::array<BtFloatArray, kBaMatAttrCount> _values;  // by kind
  BtList<BaMDTexture*> _textures;
};
