#include "Ba/bamdmaterial.h"

#include <algorithm>
#include <iterator>
#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class MaterialReader {
 public:
  explicit MaterialReader(BaMDMaterial* material) : _material(material) {}

  bool readName(const BaMDItem& item);
  bool readAttribute(const BaMDItem& item);
  bool readTexture(const BaMDItem& item);
  bool ignore(const BaMDItem& /*item*/) { return true; }
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  BaMDMaterial* _material;
};

constexpr BaMDKey<MaterialReader> kOtherKeys[] = {
    {"NAME", &MaterialReader::readName},
    {"TEXTURE", &MaterialReader::readTexture, true},
    // Programs of the display, which a model does not need.
    {"VERTEX_SHADER", &MaterialReader::ignore, true},
    {"FRAGMENT_SHADER", &MaterialReader::ignore, true},
};

// Those of the attributes and the others.
struct MaterialKeys {
  BaMDKey<MaterialReader> rows[kBaMatAttrCount + std::size(kOtherKeys)] = {};

  constexpr MaterialKeys() {
    auto* const others =
        std::ranges::transform(kBaMatAttrs, rows, [](const Ba_MatAttrInfo& attribute) {
          return BaMDKey<MaterialReader>{attribute.key_word, &MaterialReader::readAttribute};
        }).out;
    std::ranges::copy(kOtherKeys, others);
  }
};
constexpr MaterialKeys kMaterialKeys;

bool MaterialReader::readName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, "Material names cannot contain spaces.", &name)) {
    return BtFail("Invalid value for NAME in MATERIAL section.");
  }
  _material->setName(name);
  return true;
}

bool MaterialReader::readAttribute(const BaMDItem& item) {
  const Ba_MatAttrInfo& attribute =
      *std::ranges::find(kBaMatAttrs, item.key, &Ba_MatAttrInfo::key_word);
  BtFloatArray values(1);
  if (!(attribute.is_colour ? BaReadFloatArray(item, &values) : BaReadFloat(item, &values[0]))) {
    return BtFail("Unable to read value for " + BtStr(item.key) + ".");
  }
  _material->setValues(attribute.kind, values);
  return true;
}

bool MaterialReader::readTexture(const BaMDItem& item) {
  auto texture = std::make_unique<BaMDTexture>();
  if (!BaScanBlock(item, *texture)) return BtFail("Unable to read TEXTURE section.");
  _material->addTexture(std::move(texture));
  return true;
}

}  // namespace

BaMDMaterial::BaMDMaterial() {
  for (const Ba_MatAttrInfo& attribute : kBaMatAttrs) {
    if (!attribute.is_colour) setValues(attribute.kind, {attribute.initial});
  }
}

BaMDMaterial::~BaMDMaterial() { BaDeleteAll(&_textures); }

BaMDTexture* BaMDMaterial::addTexture(std::unique_ptr<BaMDTexture> texture) {
  return BaAppend(&_textures, std::move(texture));
}

void BaMDMaterial::setValues(Ba_MatAttr_t kind, const BtFloatArray& values) {
  BtAssert(Ba_InfoOf(kind).is_colour || values.size() == 1);
  _values[static_cast<std::size_t>(kind)] = values;
}

bool BaMDMaterial::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDMaterial::_scanFrom(BaMDSource& source) {
  MaterialReader reader(this);
  if (!BaScanSection(source, reader, kMaterialKeys.rows)) return false;
  return !name().isNull() || BtFail("No NAME specified in MATERIAL section.");
}

bool BaMDMaterial::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!name().isNull(), "!_name.isNull()");
  os << "MATERIAL {\n";
  if (!BaPrintName(os, "  NAME: ", name())) return false;
  for (const Ba_MatAttrInfo& attribute : kBaMatAttrs) {
    const BtFloatArray& numbers = values(attribute.kind);
    os << "  " << attribute.key_word << ": ";
    if (!BaPrintNumbers(os, {numbers.begin(), numbers.end()})) return false;
    os << '\n';
  }
  for (const BaMDTexture* texture : _textures) {
    if (!texture->printOn(os)) return false;
  }
  os << "}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
