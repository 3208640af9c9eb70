#include "Ba/bamaterial.h"

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <utility>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

using MatAttrPtr = std::unique_ptr<Ba_MatAttr>;

template <class Attr>
MatAttrPtr CreateMatAttr() {
  return std::make_unique<Attr>();
}

// How a file names an attribute, and the error when its numbers cannot be read. In the order of
// Ba_MatAttr_t.
struct AttrCode {
  int code;
  MatAttrPtr (*create)();
  const char* failure;
};

constexpr AttrCode kAttrCodes[] = {
    {1, CreateMatAttr<BaMatEmissionAttr>, "Unable to read material emission attribute."},
    {2, CreateMatAttr<BaMatAmbientAttr>, "Unable to read material ambient attribute."},
    {3, CreateMatAttr<BaMatDiffuseAttr>, "Unable to read material diffuse attribute."},
    {4, CreateMatAttr<BaMatSpecularAttr>, "Unable to read material specular attribute."},
    {5, CreateMatAttr<BaMatShininessAttr>, "Unable to read material shininess attribute."},
    {7, CreateMatAttr<BaMatAlphaAttr>, "Unable to read material alpha attribute."},
};

constexpr int kNoMoreMaterialAttributes = 0;
constexpr int kTextureCode = 100;
constexpr int kFlagCode = 101;
constexpr double kTexturesSince = 1.1;

const AttrCode& CodeOf(Ba_MatAttr_t kind) { return kAttrCodes[static_cast<std::size_t>(kind)]; }

}  // namespace

BaMaterial::BaMaterial(const BaMaterial& other)
    : _id(other._id),
      _name(other._name),
      _version(other._version),
      _textures(other._textures),
      _flag(other._flag) {
  other._checkMagicNumber();
  for (const MatAttrPtr& attr : other._attributes) _addAttribute(attr->kind())->set(*attr);
}

const Ba_MatAttr* BaMaterial::attribute(Ba_MatAttr_t kind) const {
  _checkMagicNumber();
  for (const MatAttrPtr& attr : _attributes) {
    if (attr->kind() == kind) return attr.get();
  }
  return nullptr;
}

Ba_MatAttr* BaMaterial::_addAttribute(Ba_MatAttr_t kind) {
  _checkMagicNumber();
  for (const MatAttrPtr& attr : _attributes) {
    if (attr->kind() == kind) return attr.get();
  }
  _attributes.append(CodeOf(kind).create());
  return _attributes.last().get();
}

BaMatEmissionAttr* BaMaterial::addEmissionAttribute() {
  return static_cast<BaMatEmissionAttr*>(_addAttribute(Ba_MatAttr_t::Emission));
}

BaMatAmbientAttr* BaMaterial::addAmbientAttribute() {
  return static_cast<BaMatAmbientAttr*>(_addAttribute(Ba_MatAttr_t::Ambient));
}

BaMatDiffuseAttr* BaMaterial::addDiffuseAttribute() {
  return static_cast<BaMatDiffuseAttr*>(_addAttribute(Ba_MatAttr_t::Diffuse));
}

BaMatSpecularAttr* BaMaterial::addSpecularAttribute() {
  return static_cast<BaMatSpecularAttr*>(_addAttribute(Ba_MatAttr_t::Specular));
}

BaMatShininessAttr* BaMaterial::addShininessAttribute() {
  return static_cast<BaMatShininessAttr*>(_addAttribute(Ba_MatAttr_t::Shininess));
}

BaMatAlphaAttr* BaMaterial::addAlphaAttribute() {
  return static_cast<BaMatAlphaAttr*>(_addAttribute(Ba_MatAttr_t::Alpha));
}

const BaTexture& BaMaterial::texture() const {
  static const BaTexture none;
  const auto decal = std::ranges::find(_textures, BaTexture::TEX_2D_DECAL, &BaTexture::kind);
  return decal == _textures.end() ? none : *decal;
}

void BaMaterial::setTexture(const BaTexture& texture) { _textures.assign(1, texture); }

bool BaMaterial::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaMaterial::scanFrom(BtScanner& in) {
  _checkMagicNumber();
  int id = 0;
  if (!in.readInt(&id)) return BtFail("Unable to read id.");
  setId(id);
  if (!_scanName(in)) return BtFail("Unable to read material name.");
  for (;;) {
    int code = kNoMoreMaterialAttributes;
    if (!in.readInt(&code)) return BtFail("Unable to read material attribute type.");
    if (code == kNoMoreMaterialAttributes) return true;
    if (!_scanAttribute(code, in)) return false;
  }
}

bool BaMaterial::_scanName(BtScanner& in) {
  BtStr line;
  if (!Ba_ScanLine(in, &line)) return false;
  std::string name(line.view());
  std::erase_if(name, BtIsSpace);
  setName(name.empty() ? BtFormat("material_%d", id()) : BtStr(std::string_view(name)));
  return true;
}

bool BaMaterial::_scanAttribute(int code, BtScanner& in) {
  if (code == kTextureCode) return _scanTexture(in);
  if (code == kFlagCode) {
    int flag = 0;
    if (!in.readInt(&flag)) return false;
    _flag = flag != 0;
    return true;
  }
  const auto* found = std::ranges::find(kAttrCodes, code, &AttrCode::code);
  if (found == std::end(kAttrCodes)) return BtFail("Unknown material attribute %d.", code);
  const std::span<float> values =
      _addAttribute(static_cast<Ba_MatAttr_t>(found - kAttrCodes))->values();
  return in.readFloats(values.data(), static_cast<int>(values.size())) ||
         BtFail("%s", found->failure);
}

bool BaMaterial::_scanTexture(BtScanner& in) {
  if (static_cast<double>(_version) < kTexturesSince) {
    return BtFail(
        "The data file version (%.2f) does not support textures. "
        "Support for textures began with version 1.10.",
        static_cast<double>(_version));
  }
  BaTexture texture;
  if (!texture.scanFrom(in)) return BtFail("Unable to read texture data.");
  setTexture(texture);
  return true;
}

void BaMaterial::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  _checkMagicNumber();
  os << "M  ";
  Ba_PutInt(os, id());
  os << ' ' << name() << '\n';
  for (const MatAttrPtr& attr : _attributes) {
    Ba_PutInt(os, CodeOf(attr->kind()).code);
    Ba_PutFloats(os, attr->values());
    os << '\n';
  }
  if (!texture().fileName().isNull()) {
    Ba_PutInt(os, kTextureCode);
    texture().printOn(os);
    os << '\n';
  }
  if (_flag) {
    Ba_PutInt(os, kFlagCode);
    Ba_PutInt(os, 1);
    os << '\n';
  }
  Ba_PutInt(os, kNoMoreMaterialAttributes);
  os << '\n';
}
