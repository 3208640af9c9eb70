// Reading documents.
#include <cmath>
#include <istream>
#include <span>

#include "Ba/bamodeldata.h"
#include "Bt/btfile.h"
#include "bamdsection.h"
#include "bamodelheader.h"
#include "btincludechain.h"
#include "bttextfile.h"

namespace {

constexpr double kVersion = 2.0;
// Items between two questions whether the user wants to stop.
constexpr int kItemsPerQuestion = 40;

// Reads the UNITS block.
class UnitsReader {
 public:
  explicit UnitsReader(BaModelData* data) : _data(data) {}

  bool readLength(const BaMDItem& item) {
    BaUnits units;
    if (!_readUnits(item, kBaLengthUnits, &units)) return false;
    _data->setLengthUnits(units);
    return true;
  }
  bool readAngle(const BaMDItem& item) {
    BaUnits units;
    if (!_readUnits(item, kBaAngleUnits, &units)) return false;
    _data->setAngleUnits(units);
    return true;
  }
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  static bool _readUnits(const BaMDItem& item, std::span<const std::string_view> words,
                         BaUnits* units);

  BaModelData* _data;
};

constexpr BaMDKey<UnitsReader> kUnitsKeys[] = {
    {"LENGTH", &UnitsReader::readLength},
    {"ANGLE", &UnitsReader::readAngle},
};

bool UnitsReader::_readUnits(const BaMDItem& item, std::span<const std::string_view> words,
                             BaUnits* units) {
  std::string_view text = item.value;
  if (!item.single_line || !BtReadFloat(&text, &units->factor) ||
      units->factor < kBaMinUnitFactor) {
    return BtFail("Unable to read " + BtStr(item.key) + " scale factor.");
  }
  std::string_view word;
  if (!BtReadToken(&text, &word) || !BaAtEnd(text)) {
    return BtFail("Unable to read " + BtStr(item.key) + " units.");
  }
  units->name = BtStr(word);
  if (std::find(words.begin(), words.end(), word) != words.end()) return true;
  return BtFail("Unsupported " + BtStr(item.key) + " units \"" + units->name + "\".");
}

class DocumentReader {
 public:
  explicit DocumentReader(BaModelData* data) : _data(data) {
    for (BaMDMaterial* material : data->materials()) {
      _materials.try_emplace(material->name(), material);
    }
  }

  // Reads up to the end of the document.
  bool read(std::istream& is);

  bool readComment(const BaMDItem& /*item*/) { return true; }
  bool readBodies(const BaMDItem& item);
  bool readMaterials(const BaMDItem& item);
  bool readCombineVertexNormals(const BaMDItem& item);
  bool readUnits(const BaMDItem& item);
  bool readBody(const BaMDItem& item);
  bool readSliderGroup(const BaMDItem& item);
  bool readMaterial(const BaMDItem& item);
  bool readVertices(const BaMDItem& item);
  bool readGeometry(const BaMDItem& item);
  bool readInclude(const BaMDItem& item);
  bool readEnd(const BaMDItem& /*item*/) {
    _ended = true;
    return true;
  }

 private:
  bool _readItem(const BaMDItem& item);
  bool _checkBody(BaMDBody* body) const;
  static bool _isExternal(const BaMDItem& item) {
    return item.single_line && item.value == "EXTERNAL";
  }

  BaModelData* _data;
  BaMDGeometry::Materials _materials;  // all that the document has
  unsigned _seen = 0;                  // a bit for each row of the table of key words
  bool _include_seen = false;
  bool _ended = false;
};

struct DocumentKey {
  BaMDKey<DocumentReader> key;
  bool after_include = false;  // may stand behind an INCLUDE section
};

constexpr DocumentKey kDocumentKeys[] = {
    {{"COMMENT", &DocumentReader::readComment, true}, true},
    {{"BODIES", &DocumentReader::readBodies, true}},
    {{"MATERIALS", &DocumentReader::readMaterials, true}},
    {{"COMBINE_VERTEX_NORMALS", &DocumentReader::readCombineVertexNormals}},
    {{"UNITS", &DocumentReader::readUnits}},
    {{"BODY", &DocumentReader::readBody, true}},
    {{"SLIDER_GROUP", &DocumentReader::readSliderGroup, true}},
    {{"MATERIAL", &DocumentReader::readMaterial, true}},
    {{"VERTICES", &DocumentReader::readVertices, true}},
    {{"GEOMETRY", &DocumentReader::readGeometry, true}},
    {{"INCLUDE", &DocumentReader::readInclude, true}, true},
    {{"END", &DocumentReader::readEnd}, true},
};

bool DocumentReader::read(std::istream& is) {
  BaMDSource source(is);
  BaMDItem item;
  for (long long count = 1; !_ended && source.next(&item); ++count) {
    if (!_readItem(item)) return false;
    if (count % kItemsPerQuestion == 0 && theExceptObj.checkCancel()) return false;
  }
  return !source.failed();
}

bool DocumentReader::_readItem(const BaMDItem& item) {
  const DocumentKey* found = nullptr;
  for (const DocumentKey& row : kDocumentKeys) {
    if (row.key.word == item.key) found = &row;
  }
  if (_include_seen && (found == nullptr || !found->after_include)) {
    return BtFail(BtStr(item.key) + " cannot occur after an INCLUDE section.");
  }
  if (found == nullptr) return BaFailUnknownKey(item.key);
  const unsigned place = 1U << (found - kDocumentKeys);
  if ((_seen & place) != 0 && !found->key.repeats) BaWarnOfRepeat(item.key);
  _seen |= place;
  return (this->*found->key.read)(item);
}

bool DocumentReader::readBodies(const BaMDItem& item) {
  if (!_isExternal(item)) return BtFail("Invalid value for BODIES section.");
  _data->setBodiesExternal(true);
  return true;
}

bool DocumentReader::readMaterials(const BaMDItem& item) {
  if (!_isExternal(item)) return BtFail("Invalid value for MATERIALS section.");
  _data->setMaterialsExternal(true);
  return true;
}

bool DocumentReader::readCombineVertexNormals(const BaMDItem& item) {
  bool combine = false;
  BtStr text(item.value);
  if (!item.single_line || !BtReadBool(&text, &combine) || !BaAtEnd(text.view())) {
    return BtFail("Invalid value for COMBINE_VERTEX_NORMALS.");
  }
  _data->setCombineVertexNormals(combine);
  return true;
}

bool DocumentReader::readUnits(const BaMDItem& item) {
  UnitsReader reader(_data);
  BaMDSource block(item.value);
  return BaScanSection(block, reader, kUnitsKeys) || BtFail("Unable to read UNITS section.");
}

bool DocumentReader::readBody(const BaMDItem& item) {
  auto body = std::make_unique<BaMDBody>();
  if (!BaScanBlock(item, *body)) return BtFail("Unable to read BODY section.");
  if (!_checkBody(body.get())) return false;
  _data->addBody(std::move(body));
  return true;
}

// Checks a body against those before it. Names of parents come to share their text on the way.
bool DocumentReader::_checkBody(BaMDBody* body) const {
  const BtStr& name = body->name();
  if (body->parentName().isNull()) return BtFail("No parent specified for body " + name + ".");
  if (!body->isTopLevel()) {
    const BaMDBody* parent = _data->bodyByName(body->parentName());
    if (parent == nullptr) {
      return BtFail(BtCode("parent-missing"), "Body \"" + name +
                                                  "\" specifies an undefined parent body \"" +
                                                  body->parentName() + "\".");
    }
    body->setParentName(parent->name());
  }
  if (_data->bodyByName(name) != nullptr) {
    return BtFail(BtCode("body-name-clash"), "Multiple bodies have name \"" + name + "\".");
  }
  if (body->hasId() && _data->bodyById(body->id()) != nullptr) {
    return BtFail(BtCode("body-id-duplicate"), "Multiple bodies have id %d.", body->id());
  }
  return true;
}

bool DocumentReader::readSliderGroup(const BaMDItem& item) {
  auto group = std::make_unique<BaMDSliderGroup>();
  if (!BaScanBlock(item, *group)) return BtFail("Unable to read SLIDER_GROUP section.");
  if (_data->sliderGroupByName(group->name()) != nullptr) {
    theExceptObj.setAsWarning("Multiple slider groups have name \"" + group->name() +
                              "\".  The first one counts.");
  }
  _data->addSliderGroup(std::move(group));
  return true;
}

bool DocumentReader::readMaterial(const BaMDItem& item) {
  auto material = std::make_unique<BaMDMaterial>();
  if (!BaScanBlock(item, *material)) return BtFail("Unable to read MATERIAL section.");
  if (_data->materialByName(material->name()) != nullptr) {
    return BtFail("Multiple materials have name \"" + material->name() + "\".");
  }
  _materials.try_emplace(material->name(), material.get());
  _data->addMaterial(std::move(material));
  return true;
}

bool DocumentReader::readVertices(const BaMDItem& item) {
  auto vertices = std::make_unique<BaMDVertices>();
  if (!BaScanBlock(item, *vertices)) {
    if (vertices->name().isNull()) return BtFail("Unable to read VERTICES section.");
    return BtFail("Unable to read \"" + vertices->name() + "\" VERTICES section.");
  }
  if (_data->vertexSetByName(vertices->name()) != nullptr) {
    theExceptObj.setAsWarning("Multiple vertex sets have name \"" + vertices->name() +
                              "\".  The first one counts.");
  }
  _data->addVertexSet(std::move(vertices));
  return true;
}

bool DocumentReader::readGeometry(const BaMDItem& item) {
  auto geometry = std::make_unique<BaMDGeometry>();
  const BaMDGeometry::Materials* materials = _data->materialsExternal() ? nullptr : &_materials;
  if (!BaScanBlock(item, *geometry, materials)) {
    if (geometry->bodyName().isNull()) return BtFail("Unable to read GEOMETRY section.");
    return BtFail("Unable to read GEOMETRY section \"" + geometry->bodyName() + "\".");
  }
  _data->addGeometry(std::move(geometry));
  return true;
}

bool DocumentReader::readInclude(const BaMDItem& item) {
  auto include = std::make_unique<BaMDInclude>();
  if (!BaScanBlock(item, *include)) return BtFail("Unable to read INCLUDE section.");
  _data->addInclude(std::move(include));
  _include_seen = true;
  return true;
}

}  // namespace

bool BaModelData::read(const char* file_name, bool process_includes) {
  BtAssert(file_name != nullptr, "file_name");
  clear();
  _bodies_external = false;
  _materials_external = false;
  _combine_vertex_normals = true;
  if (!process_includes) return _readFile(file_name, nullptr);
  Bt_IncludeChain chain("Model");
  if (!chain.enter(file_name) || !_readFile(file_name, &chain)) return false;
  const BtFileReading reading(file_name);
  const bool merged = _mergeIncludes(&chain);
  _source_files = chain.allFiles();
  if (merged) return true;
  return BtFail("Unable to read '%s'.", file_name);
}

bool BaModelData::_readFile(const char* file_name, Bt_IncludeChain* chain) {
  const BtFileReading reading(file_name);
  BtInputFile file = chain == nullptr ? BtInputFile(file_name) : chain->open(file_name);
  if (!file.isOpen()) return BtFail("Unable to open '%s'.", file_name);
  const bool valid = scanHeader(file.stream(), nullptr);
  const bool scanned = valid && _scanSections(file.stream(), BtFileDirectory(file_name));
  if (file.close() && scanned) return true;
  if (!valid) return BtFail("File is not a valid %s.", kBaModelFileId);
  return BtFail("Unable to read '%s'.", file_name);
}

bool BaModelData::scanHeader(std::istream& is, float* version) {
  double number = 0;
  if (!BaScanModelHeaderNumber(is, &number)) return false;
  const BtStreamReading reading(is);
  if (number > kVersion || std::floor(number) != kVersion) {
    return BtFail(BtCode("version-unsupported"),
                  "Unsupported datafile version %.2f. Application supports version %.2f.", number,
                  kVersion);
  }
  if (version != nullptr) *version = static_cast<float>(number);
  return true;
}

bool BaModelData::scan(std::istream& is, const BtStr& directory, bool process_includes,
                       const char* file_name) {
  if (!_scanSections(is, directory)) return false;
  if (!process_includes) return true;
  Bt_IncludeChain chain("Model");
  const bool merged = chain.enter(file_name == nullptr ? "" : file_name) && _mergeIncludes(&chain);
  _source_files = chain.allFiles();
  return merged;
}

bool BaModelData::_scanSections(std::istream& is, const BtStr& directory) {
  _directory = directory;
  return DocumentReader(this).read(is) && _checkGeometryBodies() && _checkBlendGroups() &&
         _checkBlendEffects() && _checkVertices();
}
