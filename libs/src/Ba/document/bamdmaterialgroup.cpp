#include "Ba/bamdmaterialgroup.h"

#include <ostream>

#include "bamdindexlines.h"
#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class MaterialGroupReader {
 public:
  MaterialGroupReader(BaMDMaterialGroup* group, const BaMDMaterialGroup::Materials* materials)
      : _group(group), _materials(materials) {}

  bool readMaterial(const BaMDItem& item);
  bool readBones(const BaMDItem& item);
  bool readPolygons(const BaMDItem& item) {
    return _readLines(item, "POLYGON", BaMDLines::Polygons, &_group->polygons());
  }
  bool readTexturedPolygons(const BaMDItem& item) {
    return _readLines(item, "TEXTURED_POLYGONS", BaMDLines::Polygons, &_group->texturedPolygons());
  }
  bool readStrips(const BaMDItem& item) {
    return _readLines(item, "TRIANGLE_STRIPS", BaMDLines::Strips, &_group->triangleStrips());
  }
  bool readTexturedStrips(const BaMDItem& item) {
    return _readLines(item, "TEXTURED_TRIANGLE_STRIPS", BaMDLines::Strips,
                      &_group->texturedTriangleStrips());
  }
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  template <class Entry>
  static bool _readLines(const BaMDItem& item, const char* section, BaMDLines kind,
                         BaMDIndexLists<Entry>* lists);

  BaMDMaterialGroup* _group;
  const BaMDMaterialGroup::Materials* _materials;
};

constexpr BaMDKey<MaterialGroupReader> kMaterialGroupKeys[] = {
    {"MATERIAL", &MaterialGroupReader::readMaterial},
    {"BONES", &MaterialGroupReader::readBones, true},
    {"POLYGONS", &MaterialGroupReader::readPolygons, true},
    {"TEXTURED_POLYGONS", &MaterialGroupReader::readTexturedPolygons, true},
    {"TRIANGLE_STRIPS", &MaterialGroupReader::readStrips, true},
    {"TEXTURED_TRIANGLE_STRIPS", &MaterialGroupReader::readTexturedStrips, true},
};

bool MaterialGroupReader::readMaterial(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) {
    return BtFail("Invalid value for MATERIAL in MATERIAL_GROUP section.");
  }
  if (_materials != nullptr) {
    const auto known = _materials->find(name);
    if (known == _materials->end()) {
      return BtFail(BtCode("material-missing"),
                    "Non-existant material '" + name + "' specified in MATERIAL_GROUP section.");
    }
    name = known->first;  // the groups of a material share its text
  }
  _group->setMaterial(name);
  return true;
}

bool MaterialGroupReader::readBones(const BaMDItem& item) {
  constexpr const char* kMessage = "Unable to read BONE coordinates.";
  if (item.single_line) return BtFail(kMessage);
  BtViewStream block(item.value);
  BtScanner in(block);
  const BtViewReading reading(block);
  while (in.skipSpace()) {
    float numbers[6] = {};
    if (!in.readFloats(numbers, 6)) return BtFail(kMessage);
    _group->bones().push_back(
        {{numbers[0], numbers[1], numbers[2]}, {numbers[3], numbers[4], numbers[5]}});
  }
  return true;
}

template <class Entry>
bool MaterialGroupReader::_readLines(const BaMDItem& item, const char* section, BaMDLines kind,
                                     BaMDIndexLists<Entry>* lists) {
  if (!item.single_line && BaReadIndexLines(item.value, kind, lists)) return true;
  return BtFail("Unable to read vertex indices for %s section.", section);
}

void Untexture(BaMDIndexLists<BaMDTexturedCorner>* textured, BaMDIndexLists<int>* plain) {
  for (int i = 0; i < textured->count(); ++i) {
    for (const BaMDTexturedCorner& corner : (*textured)[i]) plain->push(corner.vertex);
    plain->endList();
  }
  textured->clear();
}

bool PrintBones(std::ostream& os, const std::vector<BaMDBone>& bones) {
  if (bones.empty()) return true;
  os << "    BONES {\n";
  for (const BaMDBone& bone : bones) {
    const float numbers[] = {bone.from.x, bone.from.y, bone.from.z,
                             bone.to.x,   bone.to.y,   bone.to.z};
    os << "      ";
    if (!BaPrintNumbers(os, numbers)) return false;
    os << '\n';
  }
  os << "    }\n";
  return true;
}

}  // namespace

bool BaMDMaterialGroup::hasPolygons() const {
  return !_polygons.empty() || !_textured_polygons.empty() || !triangleStrips().empty() ||
         !texturedTriangleStrips().empty();
}

void BaMDMaterialGroup::untexture() {
  Untexture(&_textured_polygons, &_polygons);
  if (_rare->textured_strips.empty()) return;
  Untexture(&_rare.change().textured_strips, &_rare.change().strips);
}

bool BaMDMaterialGroup::scanFrom(std::istream& is, const Materials* materials) {
  return BaMDSource(is).scan(*this, materials);
}

bool BaMDMaterialGroup::_scanFrom(BaMDSource& source, const Materials* materials) {
  MaterialGroupReader reader(this, materials);
  if (!BaScanSection(source, reader, kMaterialGroupKeys)) return false;
  return !_material.isNull() || BtFail("No MATERIAL specified in MATERIAL_GROUP section.");
}

bool BaMDMaterialGroup::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_material.isNull(), "!_material.isNull()");
  os << "  MATERIAL_GROUP {\n";
  if (!BaPrintName(os, "    MATERIAL: ", _material)) return false;
  if (!PrintBones(os, bones())) return false;
  BaPrintIndexLines(os, "POLYGONS", _polygons);
  BaPrintIndexLines(os, "TEXTURED_POLYGONS", _textured_polygons);
  BaPrintIndexLines(os, "TRIANGLE_STRIPS", triangleStrips());
  BaPrintIndexLines(os, "TEXTURED_TRIANGLE_STRIPS", texturedTriangleStrips());
  os << "  }\n";
  return BaCheckWritten(os, "Unable to write file.");
}
