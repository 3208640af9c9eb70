#include "Ba/bamdmaterial.h"

#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class MaterialReader {
 public:
  explicit MaterialReader(BaMDMaterial* material) : _material(material) {}

  bool readName(const BaMDItem& item);
  bool readEmission(const BaMDItem& item) { return _readColour(item, &BaMDMaterial::setEmission); }
  bool readAmbient(const BaMDItem& item) { return _readColour(item, &BaMDMaterial::setAmbient); }
  bool readDiffuse(const BaMDItem& item) { return _readColour(item, &BaMDMaterial::setDiffuse); }
  bool readSpecular(const BaMDItem& item) { return _readColour(item, &BaMDMaterial::setSpecular); }
  bool readShininess(const BaMDItem& item) { return _readFloat(item, &BaMDMaterial::setShininess); }
  bool readAlpha(const BaMDItem& item) { return _readFloat(item, &BaMDMaterial::setAlpha); }
  bool readTexture(const BaMDItem& item);
  bool ignore(const BaMDItem& /*item*/) { return true; }
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  bool _readColour(const BaMDItem& item, void (BaMDMaterial::*set)(const BtFloatArray&));
  bool _readFloat(const BaMDItem& item, void (BaMDMaterial::*set)(float));

  BaMDMaterial* _material;
};

constexpr BaMDKey<MaterialReader> kMaterialKeys[] = {
    {"NAME", &MaterialReader::readName},
    {"EMISSION", &MaterialReader::readEmission},
    {"AMBIENT", &MaterialReader::readAmbient},
    {"DIFFUSE", &MaterialReader::readDiffuse},
    {"SPECULAR", &MaterialReader::readSpecular},
    {"SHININESS", &MaterialReader::readShininess},
    {"ALPHA", &MaterialReader::readAlpha},
    {"TEXTURE", &MaterialReader::readTexture, true},
    // Programs of the display, which a model does not need.
    {"VERTEX_SHADER", &MaterialReader::ignore, true},
    {"FRAGMENT_SHADER", &MaterialReader::ignore, true},
};

bool MaterialReader::readName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, "Material names cannot contain spaces.", &name)) {
    return BtFail("Invalid value for NAME in MATERIAL section.");
  }
  _material->setName(name);
  return true;
}

bool MaterialReader::_readColour(const BaMDItem& item,
                                 void (BaMDMaterial::*set)(const BtFloatArray&)) {
  BtFloatArray colour;
  if (!BaReadFloatArray(item, &colour)) {
    return BtFail("Unable to read value for " + BtStr(item.key) + ".");
  }
  (_material->*set)(colour);
  return true;
}

bool MaterialReader::_readFloat(const BaMDItem& item, void (BaMDMaterial::*set)(float)) {
  float value = 0;
  if (!BaReadFloat(item, &value))
    return BtFail("Unable to read value for " + BtStr(item.key) + ".");
  (_material->*set)(value);
  return true;
}

bool MaterialReader::readTexture(const BaMDItem& item) {
  auto texture = std::make_unique<BaMDTexture>();
  if (!BaScanBlock(item, *texture)) return BtFail("Unable to read TEXTURE section.");
  _material->addTexture(std::move(texture));
  return true;
}

bool PrintFloats(std::ostream& os, const char* key, const BtFloatArray& values) {
  os << "  " << key << ": ";
  if (!BaPrintNumbers(os, {values.begin(), values.end()})) return false;
  os << '\n';
  return true;
}

}  // namespace

BaMDMaterial::~BaMDMaterial() { BaDeleteAll(&_textures); }

BaMDTexture* BaMDMaterial::addTexture(std::unique_ptr<BaMDTexture> texture) {
  return BaAppend(&_textures, std::move(texture));
}

bool BaMDMaterial::scanFrom(std::istream& is) {
  BaMDSource source(is);
  return scanFrom(source);
}

bool BaMDMaterial::scanFrom(BaMDSource& source) {
  MaterialReader reader(this);
  if (!BaScanSection(source, reader, kMaterialKeys)) return false;
  return !name().isNull() || BtFail("No NAME specified in MATERIAL section.");
}

bool BaMDMaterial::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!name().isNull(), "!_name.isNull()");
  os << "MATERIAL {\n";
  if (!BaPrintName(os, "  NAME: ", name())) return false;
  if (!PrintFloats(os, "EMISSION", _emission) || !PrintFloats(os, "AMBIENT", _ambient) ||
      !PrintFloats(os, "DIFFUSE", _diffuse) || !PrintFloats(os, "SPECULAR", _specular) ||
      !PrintFloats(os, "SHININESS", {_shininess}) || !PrintFloats(os, "ALPHA", {_alpha})) {
    return false;
  }
  for (const BaMDTexture* texture : _textures) {
    if (!texture->printOn(os)) return false;
  }
  os << "}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
