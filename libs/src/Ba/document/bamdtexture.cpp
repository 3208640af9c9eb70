#include "Ba/bamdtexture.h"

#include <algorithm>
#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

// Indexed by BaMDTexture_t.
constexpr std::string_view kTypeWords[] = {"2D_DECAL", "CUBE_ENV", "2D_ENV"};

class TextureReader {
 public:
  explicit TextureReader(BaMDTexture* texture) : _texture(texture) {}

  bool readName(const BaMDItem& item);
  bool readType(const BaMDItem& item);
  bool readUnit(const BaMDItem& item);
  bool readSAttributes(const BaMDItem& item);
  bool readTAttributes(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  BaMDTexture* _texture;
};

constexpr BaMDKey<TextureReader> kTextureKeys[] = {
    {"NAME", &TextureReader::readName},
    {"TYPE", &TextureReader::readType},
    {"UNIT", &TextureReader::readUnit},
    {"S_ATTRIBUTES", &TextureReader::readSAttributes},
    {"T_ATTRIBUTES", &TextureReader::readTAttributes},
};

bool TextureReader::readName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, "TEXTURE names cannot contain spaces.", &name)) {
    return BtFail("Invalid value for NAME in TEXTURE section.");
  }
  _texture->setName(name);
  return true;
}

bool TextureReader::readType(const BaMDItem& item) {
  const auto* word = std::find(std::begin(kTypeWords), std::end(kTypeWords), item.value);
  if (!item.single_line || word == std::end(kTypeWords)) {
    return BtFail("Invalid value for TYPE in TEXTURE section.");
  }
  _texture->setType(static_cast<BaMDTexture_t>(word - std::begin(kTypeWords)));
  return true;
}

bool TextureReader::readUnit(const BaMDItem& item) {
  if (!item.single_line) return BtFail("Invalid value for UNIT in TEXTURE section.");
  int unit = 0;
  if (!BaReadInt(item, &unit)) return BtFail("Unable to read value for UNIT in TEXTURE section.");
  _texture->setUnit(unit);
  return true;
}

bool TextureReader::readSAttributes(const BaMDItem& item) {
  if (!item.single_line) return BtFail("Invalid value for S_ATTRIBUTES in TEXTURE section.");
  _texture->setSAttributes(BtStr(item.value));
  return true;
}

bool TextureReader::readTAttributes(const BaMDItem& item) {
  if (!item.single_line) return BtFail("Invalid value for T_ATTRIBUTES in TEXTURE section.");
  _texture->setTAttributes(BtStr(item.value));
  return true;
}

bool PrintAttributes(std::ostream& os, const char* key, const BtStr& attributes) {
  return attributes.isNull() || BaPrintText(os, key, attributes);
}

}  // namespace

bool BaMDTexture::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDTexture::_scanFrom(BaMDSource& source) {
  TextureReader reader(this);
  if (!BaScanSection(source, reader, kTextureKeys)) return false;
  return !_name.isNull() || BtFail("No NAME specified in TEXTURE section.");
}

bool BaMDTexture::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_name.isNull(), "!_name.isNull()");
  os << "  TEXTURE {\n";
  if (!BaPrintName(os, "    NAME: ", _name)) return false;
  os << "    UNIT: ";
  BaPrintInt(os, unit());
  os << '\n';
  if (_type != BaMDTexture_t::Decal2D) {
    os << "    TYPE: " << kTypeWords[static_cast<std::size_t>(_type)] << '\n';
  }
  if (!PrintAttributes(os, "    S_ATTRIBUTES: ", sAttributes())) return false;
  if (!PrintAttributes(os, "    T_ATTRIBUTES: ", tAttributes())) return false;
  os << "  }\n";
  return BaCheckWritten(os, "Unable to write file.");
}
