// Merging the mappings that a mapping includes into it.
#include <algorithm>
#include <limits>

#include "Ba/bamapping.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Bt/bthash.h"
#include "btincludechain.h"

namespace {

bool IsId(long long id) { return id >= 1 && id <= std::numeric_limits<int>::max(); }

// The number of variables that a mapping states, as a mapping that includes it counts them.
int StatedWithOffset(const BaUnlockedMapping& sub, int offset) {
  const int stated = sub.numSysVarsStated();
  const long long sum = static_cast<long long>(stated) + offset;
  return stated < 1 || !IsId(sum) ? 0 : static_cast<int>(sum);
}

BtStr PathOf(const BtStr& file_name, const BtStr& directory) {
  if (BtFileIsAbsolutePath(file_name) || directory == ".") return file_name;
  return BtFileJoin(directory, file_name);
}

}  // namespace

// Adds one mapping after the other to a result. Remembers which variables are taken, so that the
// work for each is in proportion to its own size.
class Ba_MappingMerge {
 public:
  explicit Ba_MappingMerge(BaUnlockedMapping* result) : _result(result) { _take(*result); }

  // Moves the content of `sub` into the result. False, with an error recorded and the result as it
  // was, when ids clash or leave their range.
  bool add(BaUnlockedMapping* sub, const BaUnlockedMapping::Include& include) {
    const int body_id_offset = include.body_id_offset;
    const int sysvar_id_offset = include.sysvar_id_offset == BaUnlockedMapping::kFollowOn
                                     ? _highest_sysvar_id
                                     : include.sysvar_id_offset;
    if (!_checkSysVarIds(*sub, sysvar_id_offset) || !_checkBodyIds(*sub, body_id_offset)) {
      return false;
    }
    _offsetSysVarIds(sub, sysvar_id_offset);
    _result->_num_sysvars_stated =
        std::max(_result->_num_sysvars_stated, StatedWithOffset(*sub, sysvar_id_offset));
    _take(*sub);
    _move(sub, body_id_offset);
    return true;
  }

 private:
  void _take(const BaUnlockedMapping& mapping) {
    mapping._forEachSysVarId([this](int id) {
      _taken_sysvar_ids.insert(id);
      _highest_sysvar_id = std::max(_highest_sysvar_id, id);
    });
  }

  bool _checkSysVarIds(const BaUnlockedMapping& sub, int offset) const {
    bool overlaps = false;
    long long invalid_id = 1;
    sub._forEachSysVarId([&](int id) {
      const long long new_id = static_cast<long long>(id) + offset;
      if (!IsId(new_id)) {
        invalid_id = new_id;
      } else if (_taken_sysvar_ids.contains(static_cast<int>(new_id))) {
        overlaps = true;
      }
    });
    if (overlaps) {
      BtFail(BtCode("variable-overlap"),
             "The resulting mapping would have overlapping system variable ids.");
    } else if (!IsId(invalid_id)) {
      theExceptObj.set("The resulting system variable id %lld would be invalid.", invalid_id);
    }
    return !overlaps && IsId(invalid_id);
  }

  bool _checkBodyIds(const BaUnlockedMapping& sub, int offset) const {
    for (const BaUnlockedBodyMap* body_map : sub._body_maps) {
      const long long id = static_cast<long long>(body_map->bodyId()) + offset;
      if (!IsId(id))
        return BtFail(BtCode("body-id-range"), "The resulting body id %lld would be invalid.", id);
      if (_result->bodyMap(static_cast<int>(id)) != nullptr) {
        return BtFail(BtCode("body-mapped-twice"),
                      "The resulting mapping would contain two mappings for body id %lld.", id);
      }
    }
    return true;
  }

  static void _offsetSysVarIds(BaUnlockedMapping* sub, int offset) {
    for (BaUnlockedBodyMap* body_map : sub->_body_maps) body_map->offsetSysVarIds(offset);
    for (auto& map : sub->_texture_index_maps) map.sysvar_id += offset;
    for (auto& map : sub->_blend_effect_maps) {
      for (auto& slider : map.sliders) slider.sysvar_id += offset;
    }
  }

  void _move(BaUnlockedMapping* sub, int body_id_offset) {
    for (BaUnlockedBodyMap* body_map : sub->_body_maps) {
      _result->_addBodyMap(std::unique_ptr<BaUnlockedBodyMap>(body_map),
                           body_map->bodyId() + body_id_offset);
    }
    sub->_body_maps.clear();
    sub->_body_map_index.clear();
    std::move(sub->_texture_index_maps.begin(), sub->_texture_index_maps.end(),
              std::back_inserter(_result->_texture_index_maps));
    std::move(sub->_blend_effect_maps.begin(), sub->_blend_effect_maps.end(),
              std::back_inserter(_result->_blend_effect_maps));
  }

  BaUnlockedMapping* _result;
  BtHashSet<int> _taken_sysvar_ids;  // asked, never walked
  int _highest_sysvar_id = 0;
};

bool BaUnlockedMapping::merge(const BaUnlockedMapping& other, int body_id_offset,
                              int sysvar_id_offset) {
  BtAssert(other.includes().empty());
  BaUnlockedMapping sub(other);
  if (!Ba_MappingMerge(this).add(&sub, {BtStr(), body_id_offset, sysvar_id_offset})) return false;
  setHighestSysVar();
  return true;
}

bool BaUnlockedMapping::_loadIncludes(Bt_IncludeChain* chain) {
  if (_includes.empty()) return true;
  // What is merged is part of the mapping from then on, so the result has no includes.
  BaUnlockedMapping merged(*this);
  merged._includes.clear();
  Ba_MappingMerge merge(&merged);
  for (const Include& include : _includes) {
    BaUnlockedMapping sub;
    if (theExceptObj.checkCancel() ||
        !sub._readFile(PathOf(include.file_name, _directory), true, chain) ||
        !merge.add(&sub, include)) {
      return BtFail("Unable to include sub-mapping.");
    }
  }
  swap(merged);
  setHighestSysVar();
  return true;
}
