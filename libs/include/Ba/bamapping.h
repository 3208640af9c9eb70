// The mapping (DOF file): which numbered system variables of the capture system drive which
// transform of which body, with the variables that drive textures and sliders.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <vector>

#include "Ba/babodymap.h"
#include "Bt/btflatmap.h"
#include "Bt/btlist.h"
#include "Bt/btmap.h"
#include "Bt/btstr.h"

class BaModel;
class Bt_IncludeChain;

// Owns its body maps and keeps them in file order, at most one per body. Readers and writers answer
// false after recording an error; what was read before the error is then of no use.
class BaUnlockedMapping {
 public:
  // A variable that chooses among the textures of a material.
  struct TextureIndexMap {
    int material_id;
    int sysvar_id;
    bool operator==(const TextureIndexMap& other) const = default;
  };
  // The variables that drive the sliders of one slider group of the model.
  struct BlendEffectMap {
    struct Slider {
      BtStr name;
      int sysvar_id;
      bool operator==(const Slider& other) const = default;
    };
    BtStr slider_group;  // without blanks
    std::vector<Slider> sliders;
    bool operator==(const BlendEffectMap& other) const = default;
  };
  // A mapping file that belongs to this one but has not been merged into it yet.
  struct Include {
    BtStr file_name;  // as written: absolute, or relative to the folder of the including file
    int body_id_offset = 0;
    int sysvar_id_offset = kFollowOn;
    bool operator==(const Include& other) const = default;
  };
  // The variable offset of an include that gives none: its variables follow on those used so far.
  static constexpr int kFollowOn = -1;

  // One thing that a variable drives.
  struct Driven {
    enum class Kind : std::uint8_t { Transform, TextureIndex, Slider };
    Kind kind = Kind::Transform;
    int id = 0;               // of the body or of the material; 0 for a slider
    int transform_id = 0;     // 1 to 6, of a transform
    BtStr slider_group = {};  // of a slider
    BtStr slider = {};
    double factor = 1;  // what the thing changes by when the variable changes by 1
  };

  BaUnlockedMapping() = default;
  BaUnlockedMapping(const BaUnlockedMapping& other);
  BaUnlockedMapping(BaUnlockedMapping&& other) noexcept { swap(other); }
  ~BaUnlockedMapping();
  BaUnlockedMapping& operator=(const BaUnlockedMapping& other);
  BaUnlockedMapping& operator=(BaUnlockedMapping&& other) noexcept;
  void swap(BaUnlockedMapping& other) noexcept;

  // Reads a file, and with `load_includes` everything that it includes, which then is part of this
  // mapping as if it stood in the file itself.
  bool read(const BtStr& file, bool load_includes);
  // The same from a stream; includes are looked for in `directory`.
  bool scanFrom(std::istream& is, bool load_includes, const BtStr& directory = ".");
  // Reads and checks the header and version lines.
  static bool streamContainsMapping(std::istream& is);
  // Writes the mapping as it is read. Asserts that each body map has each of its six transforms
  // once.
  void printOn(std::ostream& os) const;
  // The files that the last read() has read: the mapping's own, and what that includes. As those of
  // BaModel.
  [[nodiscard]] const std::vector<BtStr>& sourceFiles() const { return _source_files; }
  // The same to a file; relative names of included files are rewritten for the file's folder.
  // False, with an error recorded and an older file as it was, where that fails.
  bool save(const char* file) const;

  // The number that the file states: the highest variable id that any transform uses, once
  // setHighestSysVar() has seen to it, as reading does.
  [[nodiscard]] int numSysVars() const { return _num_sysvars; }
  // The highest variable id that transforms, textures and sliders use, 0 for none: how many
  // variables a frame must have. Includes that are not merged yet do not count.
  [[nodiscard]] int highestSysVarUsed() const;
  // The number of variables that the file stated, or one that it includes with its offset added; 0
  // where nothing was read. It may be more or less than what is used.
  [[nodiscard]] int numSysVarsStated() const { return _num_sysvars_stated; }
  // All that a variable, 1 or above, drives: transforms by body in list order, each once, then
  // textures, then sliders. Looks through the whole mapping; allDriven() answers for all variables.
  [[nodiscard]] std::vector<Driven> drivenBy(int var_id) const;
  // The same for every variable in use, by variable id.
  [[nodiscard]] std::map<int, std::vector<Driven>> allDriven() const;
  // In file order, those of included files behind them.
  [[nodiscard]] const BtList<BaUnlockedBodyMap*>& bodyMaps() const { return _body_maps; }
  // Null for a body that is not mapped. Takes constant time.
  [[nodiscard]] const BaUnlockedBodyMap* bodyMap(int body_id) const;
  [[nodiscard]] BaUnlockedBodyMap* bodyMap(int body_id);
  // The first three that follow replace their answer's content; transforms are appended, as
  // BaUnlockedBodyMap::getSysVarTransforms() does. Body ids are in list order, variable ids
  // ascending. Variables are those of transforms, 0 left out.
  void getBodies(BtDArray<int>* body_ids) const;
  void getBodiesUsingSysVar(BtDArray<int>* body_ids, int var_id) const;
  void getUsedSysVarIds(BtDArray<int>* var_ids) const;
  void getSysVarTransforms(BtList<Ba_Transform*>* transforms, int var_id);
  [[nodiscard]] const std::vector<TextureIndexMap>& textureIndexMaps() const {
    return _texture_index_maps;
  }
  [[nodiscard]] const std::vector<BlendEffectMap>& blendEffectMaps() const {
    return _blend_effect_maps;
  }
  [[nodiscard]] const std::vector<Include>& includes() const { return _includes; }

  // Adds a copy; the body must not be mapped yet.
  void addBodyMap(const BaUnlockedBodyMap& body_map);
  void removeBodyMap(int body_id);
  // Removes the body maps that no variable drives.
  void removeUnusedBodyMaps();
  void changeBodyId(int from, int to);
  // Gives many bodies other ids at once, from old id to new id; bodies may take each other's ids,
  // but in the end no two may have one. Ids of bodies that are not mapped do no harm.
  void changeBodyIds(const BtMap<int, int>& new_ids);
  // Adds what another mapping holds, all includes of which must be merged, as if this mapping
  // included it. False, with an error recorded and nothing changed, when ids clash or leave their
  // range.
  bool merge(const BaUnlockedMapping& other, int body_id_offset, int sysvar_id_offset = kFollowOn);
  // Sets the number of variables to the highest variable id that any transform uses.
  void setHighestSysVar();
  void clear();

  // Body maps in the same order, and everything else that a file holds.
  bool operator==(const BaUnlockedMapping& other) const;

 private:
  friend class Ba_MappingMerge;

  bool _readFile(const BtStr& file, bool load_includes, Bt_IncludeChain* chain);
  bool _scanFile(const BtStr& file, bool* opened, Bt_IncludeChain* chain);
  bool _scanFrom(std::istream& is, const BtStr& directory);
  bool _scanContent(std::istream& is);
  bool _scanBodyMaps(std::istream& is, int count);
  bool _scanSections(std::istream& is);
  bool _scanSection(const BtStr& tag, const BtStr& value);
  bool _scanTextureIndexMaps(const BtStr& value);
  bool _scanBlendEffectMap(const BtStr& value);
  bool _scanInclude(const BtStr& value);
  void _checkNumSysVars();
  bool _loadIncludes(Bt_IncludeChain* chain);
  // False, with an error recorded, for the name of an included file that would not come back.
  bool _printOn(std::ostream& os, const BtStr& directory) const;

  // Adds a body map under an id that must be free.
  void _addBodyMap(std::unique_ptr<BaUnlockedBodyMap> body_map, int body_id);
  // Calls visit(id) with every variable id that transforms, textures and sliders use, 0 left out.
  template <class Visit>
  void _forEachSysVarId(Visit visit) const {
    for (const BaUnlockedBodyMap* body_map : _body_maps) body_map->forEachSysVarId(visit);
    for (const TextureIndexMap& map : _texture_index_maps) visit(map.sysvar_id);
    for (const BlendEffectMap& map : _blend_effect_maps) {
      for (const BlendEffectMap::Slider& slider : map.sliders) visit(slider.sysvar_id);
    }
  }

  // Calls visit(id, driven) with every variable id and every thing that it drives.
  template <class Visit>
  void _forEachDriven(Visit visit) const;

  int _num_sysvars = 0;
  int _num_sysvars_stated = 0;
  BtList<BaUnlockedBodyMap*> _body_maps;               // owned
  BtFlatMap<int, BaUnlockedBodyMap*> _body_map_index;  // by body id
  std::vector<TextureIndexMap> _texture_index_maps;
  std::vector<BlendEffectMap> _blend_effect_maps;
  std::vector<Include> _includes;
  std::vector<BtStr> _source_files;
  BtStr _directory = ".";  // where relative names of includes start from
};

std::ostream& operator<<(std::ostream& os, const BaUnlockedMapping& mapping);

// Whether what was recorded for `source` can be loaded onto `dest`: false, with an error recorded,
// at the first body of `source` whose transforms `dest` lacks or drives otherwise. The error names
// the body, by its name in `model` or, where that is null or has no such body, by its id.
bool BaMappingCheckLoadCompatibility(const BaUnlockedMapping& dest, const BaUnlockedMapping& source,
                                     const BaModel* model);
