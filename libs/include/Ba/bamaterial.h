// A material of a model: its attributes and its textures.
#pragma once

#include <iosfwd>
#include <memory>
#include <vector>

#include "Ba/bakey.h"
#include "Ba/bamaterialattr.h"
#include "Ba/batexture.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BtScanner;

// A material holds one attribute of a kind at most. A copy is deep.
class BaMaterial {
 public:
  BaMaterial() = default;
  BaMaterial(const BaMaterial& other);
  BaMaterial& operator=(const BaMaterial&) = delete;
  ~BaMaterial() { _magic_number = 0; }

  // Id and name are set while no model owns the material; one in a model is renamed and renumbered
  // by the model.
  [[nodiscard]] int id() const { return _id.get(); }
  void setId(int id) { _id.set(id); }
  // Never empty after reading.
  [[nodiscard]] const BtStr& name() const { return _name.get(); }
  void setName(const BtStr& name) { _name.set(name); }
  // The version of the file that the material comes from; it says whether textures may occur.
  [[nodiscard]] float version() const { return _version; }
  void setVersion(float version) { _version = version; }

  // In the order in which they were added.
  [[nodiscard]] const BtList<std::unique_ptr<Ba_MatAttr>>& attributes() const {
    return _attributes;
  }
  // The attribute of a kind, null when there is none.
  [[nodiscard]] const Ba_MatAttr* attribute(Ba_MatAttr_t kind) const;
  // Each answers the attribute that is there, or a new one of zeros.
  Ba_MatAttr* addAttribute(Ba_MatAttr_t kind);
  BaMatEmissionAttr* addEmissionAttribute() { return _add<Ba_MatAttr_t::Emission>(); }
  BaMatAmbientAttr* addAmbientAttribute() { return _add<Ba_MatAttr_t::Ambient>(); }
  BaMatDiffuseAttr* addDiffuseAttribute() { return _add<Ba_MatAttr_t::Diffuse>(); }
  BaMatSpecularAttr* addSpecularAttribute() { return _add<Ba_MatAttr_t::Specular>(); }
  BaMatShininessAttr* addShininessAttribute() { return _add<Ba_MatAttr_t::Shininess>(); }
  BaMatAlphaAttr* addAlphaAttribute() { return _add<Ba_MatAttr_t::Alpha>(); }

  // A legacy file gives one texture at most, a document any number.
  [[nodiscard]] const std::vector<BaTexture>& textures() const { return _textures; }
  void addTexture(const BaTexture& texture) { _textures.push_back(texture); }
  // The texture of the legacy form: the first decal, or one without a file name.
  [[nodiscard]] const BaTexture& texture() const;
  // Makes `texture` the only one.
  void setTexture(const BaTexture& texture);
  // What the file says under code 101, kept as read.
  [[nodiscard]] bool flag() const { return _flag; }
  void setFlag(bool flag) { _flag = flag; }

  // Reads what follows the record letter; false after a recorded error. Set the version before.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  void printOn(std::ostream& os) const;

 private:
  friend class BaModel;  // finds its materials by id and name

  static constexpr unsigned kMagicNumber = 0xBA3A7E51;

  void _checkMagicNumber() const { BtAssert(_magic_number == kMagicNumber); }
  template <Ba_MatAttr_t kKind>
  Ba_MatAttrOfKind<kKind>* _add() {
    return static_cast<Ba_MatAttrOfKind<kKind>*>(addAttribute(kKind));
  }
  bool _scanName(BtScanner& in);
  bool _scanAttribute(int code, BtScanner& in);
  bool _scanTexture(BtScanner& in);

  BaKey<int> _id{-1};
  BaKey<BtStr> _name;
  float _version = 0;
  BtList<std::unique_ptr<Ba_MatAttr>> _attributes;
  std::vector<BaTexture> _textures;
  bool _flag = false;
  volatile unsigned _magic_number = kMagicNumber;
};
