#include <ostream>

#include "Ba/bamapping.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Bt/btscan.h"
#include "bamappingtext.h"
#include "btclassicios.h"
#include "bttextfile.h"

bool BaCanBeInMapping(std::string_view value) {
  if (value.empty()) return true;
  return value.find_first_of("\n#}") == std::string_view::npos && value.back() != '{' &&
         value.back() != '\\' && !BtIsSpace(value.front()) && !BtIsSpace(value.back());
}

// Names as they were read can be written.
void BaUnlockedMapping::printOn(std::ostream& os) const { (void)_printOn(os, _directory); }

std::ostream& operator<<(std::ostream& os, const BaUnlockedMapping& mapping) {
  mapping.printOn(os);
  return os;
}

bool BaUnlockedMapping::_printOn(std::ostream& os, const BtStr& directory) const {
  const BtClassicIos classic(os);
  os << kBaMappingHeader << "\nv1.0\n";
  os << _num_sysvars << '\n' << _body_maps.count() << '\n';
  for (const BaUnlockedBodyMap* body_map : _body_maps) body_map->printOn(os);
  if (!_texture_index_maps.empty()) {
    os << "MATERIAL_TEXTURE_INDEX_MAPS {\n";
    for (const TextureIndexMap& map : _texture_index_maps) {
      os << "  " << map.material_id << ' ' << map.sysvar_id << '\n';
    }
    os << "}\n";
  }
  for (const BlendEffectMap& map : _blend_effect_maps) {
    os << "BLEND_EFFECT_MAP {\n  SLIDER_GROUP: " << map.slider_group << "\n  SLIDERS {\n";
    for (const BlendEffectMap::Slider& slider : map.sliders) {
      os << "    " << slider.name << ' ' << slider.sysvar_id << '\n';
    }
    os << "  }\n}\n";
  }
  for (const Include& include : _includes) {
    const BtStr name = BtFileSeenFrom(directory, include.file_name, _directory);
    if (!BaCanBeInMapping(name.view())) {
      return BtFail("The name \"" + name + "\" cannot be written to a mapping file.");
    }
    os << "INCLUDE {\n  FILE_NAME: " << name << "\n  BODY_ID_OFFSET: " << include.body_id_offset
       << '\n';
    if (include.sysvar_id_offset != kFollowOn) {
      os << "  SYSTEM_VARIABLE_ID_OFFSET: " << include.sysvar_id_offset << '\n';
    }
    os << "}\n";
  }
  os << '\n';
  return true;
}

bool BaUnlockedMapping::save(const char* file) const {
  BtAssert(file != nullptr, "file");
  BtOutputFile output(file);
  if (output.isOpen() && _printOn(output.stream(), BtFileDirectory(file)) && output.close()) {
    return true;
  }
  return BtFail("Unable to write file '%s'.", file);
}
