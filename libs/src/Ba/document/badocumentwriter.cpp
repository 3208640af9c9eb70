// Writing documents.
#include <algorithm>
#include <cmath>
#include <ostream>
#include <span>

#include "Ba/bamodeldata.h"
#include "Bt/btfile.h"
#include "bamdsection.h"
#include "bamodelheader.h"
#include "btclassicios.h"
#include "bttextfile.h"

namespace {

template <class Section>
bool PrintAll(std::ostream& os, const BtList<Section*>& sections, const char* message) {
  for (const Section* section : sections) {
    if (!section->printOn(os)) return BtFail("%s", message);
  }
  return true;
}

bool PrintUnits(std::ostream& os, const char* key, const BaUnits& units,
                std::span<const std::string_view> words) {
  if (!(units.factor >= kBaMinUnitFactor) || std::isinf(units.factor)) {
    return BtFail("Unable to write " + BtStr(key) + " scale factor.");
  }
  if (std::find(words.begin(), words.end(), units.name.view()) == words.end()) {
    return BtFail("Unsupported " + BtStr(key) + " units \"" + units.name + "\".");
  }
  os << "  " << key << ": ";
  BaPrintFloat(os, units.factor);
  os << ' ' << units.name << '\n';
  return true;
}

}  // namespace

bool BaModelData::printOn(std::ostream& os) const { return _printOn(os, _directory); }

bool BaModelData::_printOn(std::ostream& os, const BtStr& directory) const {
  const BtClassicIos plain(os);
  (void)_checkGeometryBodies();
  BtAssert(!BtError(), "!BtError()");
  BtAssert(!_length_units.name.isNull(), "!_length_units.isNull()");
  BtAssert(!_angle_units.name.isNull(), "!_angle_units.isNull()");
  os << kBaModelFileId << "\nv2.00\n";
  if (_bodies_external) os << "BODIES: EXTERNAL\n";
  if (_materials_external) os << "MATERIALS: EXTERNAL\n";
  if (!_combine_vertex_normals) os << "COMBINE_VERTEX_NORMALS: false\n";
  os << "UNITS {\n";
  if (!PrintUnits(os, "LENGTH", _length_units, kBaLengthUnits) ||
      !PrintUnits(os, "ANGLE", _angle_units, kBaAngleUnits)) {
    return false;
  }
  os << "}\n";
  if ((!_bodies_external && !PrintAll(os, _bodies, "Unable to write BODY section.")) ||
      (!_materials_external && !PrintAll(os, _materials, "Unable to write MATERIAL section.")) ||
      !PrintAll(os, _slider_groups, "Unable to write SLIDER_GROUP section.") ||
      !PrintAll(os, _vertex_sets, "Unable to write VERTICES section.") ||
      !PrintAll(os, _geometries, "Unable to write GEOMETRY section.")) {
    return false;
  }
  for (const BaMDInclude* include : _includes) {
    BaMDInclude moved(*include);
    moved.setFileName(BtFileSeenFrom(directory, include->fileName(), _directory));
    if (!moved.printOn(os)) return false;
  }
  return BaCheckWritten(os, "Unable to write file.");
}

bool BaModelData::save(const char* file_name) const {
  BtAssert(file_name != nullptr, "file_name");
  BtOutputFile file(file_name);
  bool saved = file.isOpen() && _printOn(file.stream(), BtFileDirectory(file_name));
  if (saved && !file.close()) saved = BtFail("Unable to write file.");
  if (!saved) theExceptObj.set("Unable to write '%s'.", file_name);
  return saved;
}
