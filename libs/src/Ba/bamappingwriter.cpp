#include <filesystem>
#include <ostream>

#include "bamapping.h"
#include "bamappingheader.h"
#include "btclassicios.h"
#include "btexcept.h"
#include "btfile.h"
#include "bttextfile.h"

namespace {

// The name of an included file as a file in `to` has to write it, where a file in `from` writes
// `name`. Links are resolved first, so that ".." leads where it says.
BtStr Rebased(const BtStr& name, const BtStr& from, const BtStr& to) {
  if (BtFileIsAbsolutePath(name) || from == to) return name;
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path here = fs::current_path(error);
  const fs::path source = here / from.view() / name.view();
  const fs::path target = error ? fs::path() : fs::weakly_canonical(source, error);
  const fs::path folder = error ? fs::path() : fs::weakly_canonical(here / to.view(), error);
  if (error) return name;
  return BtStr(target.lexically_relative(folder).native());
}

}  // namespace

void BaUnlockedMapping::printOn(std::ostream& os) const { _printOn(os, _directory); }

std::ostream& operator<<(std::ostream& os, const BaUnlockedMapping& mapping) {
  mapping.printOn(os);
  return os;
}

void BaUnlockedMapping::_printOn(std::ostream& os, const BtStr& directory) const {
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
    os << "INCLUDE {\n  FILE_NAME: " << Rebased(include.file_name, _directory, directory)
       << "\n  BODY_ID_OFFSET: " << include.body_id_offset << '\n';
    if (include.sysvar_id_offset != kFollowOn) {
      os << "  SYSTEM_VARIABLE_ID_OFFSET: " << include.sysvar_id_offset << '\n';
    }
    os << "}\n";
  }
  os << '\n';
}

bool BaUnlockedMapping::save(const char* file) const {
  BtOutputFile output(file);
  if (output.isOpen()) {
    _printOn(output.stream(), BtFileDirectory(file));
    if (output.close()) return true;
  }
  theExceptObj.set("Unable to write file '%s'.", file);
  return false;
}
