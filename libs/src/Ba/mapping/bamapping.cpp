#include "Ba/bamapping.h"

#include <algorithm>

namespace {

// Frees what the pointers of a list own, and empties the list.
void FreeAll(BtList<BaUnlockedBodyMap*>* body_maps) {
  for (BaUnlockedBodyMap* body_map : *body_maps) {
    const std::unique_ptr<BaUnlockedBodyMap> owner(body_map);
  }
  body_maps->clear();
}

template <class T>
void CopyTo(BtDArray<T>* array, const std::vector<T>& values) {
  array->clear();
  array->resize(SizeTToInt(values.size()));
  std::copy(values.begin(), values.end(), array->begin());
}

}  // namespace

BaUnlockedMapping::BaUnlockedMapping(const BaUnlockedMapping& other)
    : _num_sysvars(other._num_sysvars),
      _num_sysvars_stated(other._num_sysvars_stated),
      _texture_index_maps(other._texture_index_maps),
      _blend_effect_maps(other._blend_effect_maps),
      _includes(other._includes),
      _directory(other._directory) {
  for (const BaUnlockedBodyMap* body_map : other._body_maps) addBodyMap(*body_map);
}

BaUnlockedMapping::~BaUnlockedMapping() { FreeAll(&_body_maps); }

BaUnlockedMapping& BaUnlockedMapping::operator=(const BaUnlockedMapping& other) {
  BaUnlockedMapping copy(other);
  swap(copy);
  return *this;
}

BaUnlockedMapping& BaUnlockedMapping::operator=(BaUnlockedMapping&& other) noexcept {
  swap(other);
  return *this;
}

void BaUnlockedMapping::swap(BaUnlockedMapping& other) noexcept {
  std::swap(_num_sysvars, other._num_sysvars);
  std::swap(_num_sysvars_stated, other._num_sysvars_stated);
  std::swap(_body_maps, other._body_maps);
  std::swap(_body_map_index, other._body_map_index);
  std::swap(_texture_index_maps, other._texture_index_maps);
  std::swap(_blend_effect_maps, other._blend_effect_maps);
  std::swap(_includes, other._includes);
  std::swap(_directory, other._directory);
}

bool BaUnlockedMapping::operator==(const BaUnlockedMapping& other) const {
  if (_num_sysvars != other._num_sysvars || _body_maps.count() != other._body_maps.count() ||
      _texture_index_maps != other._texture_index_maps ||
      _blend_effect_maps != other._blend_effect_maps || _includes != other._includes) {
    return false;
  }
  auto other_map = other._body_maps.begin();
  for (const BaUnlockedBodyMap* body_map : _body_maps) {
    if (!(*body_map == **other_map)) return false;
    ++other_map;
  }
  return true;
}

void BaUnlockedMapping::clear() {
  BaUnlockedMapping empty;
  swap(empty);
}

const BaUnlockedBodyMap* BaUnlockedMapping::bodyMap(int body_id) const {
  const auto found = _body_map_index.find(body_id);
  return found == _body_map_index.end() ? nullptr : found->second;
}

BaUnlockedBodyMap* BaUnlockedMapping::bodyMap(int body_id) {
  const auto found = _body_map_index.find(body_id);
  return found == _body_map_index.end() ? nullptr : found->second;
}

void BaUnlockedMapping::getBodies(BtDArray<int>* body_ids) const {
  std::vector<int> ids;
  for (const BaUnlockedBodyMap* body_map : _body_maps) ids.push_back(body_map->bodyId());
  CopyTo(body_ids, ids);
}

void BaUnlockedMapping::getBodiesUsingSysVar(BtDArray<int>* body_ids, int var_id) const {
  std::vector<int> ids;
  for (const BaUnlockedBodyMap* body_map : _body_maps) {
    if (body_map->usesSysVarId(var_id)) ids.push_back(body_map->bodyId());
  }
  CopyTo(body_ids, ids);
}

void BaUnlockedMapping::getSysVarTransforms(BtList<Ba_Transform*>* transforms, int var_id) {
  for (BaUnlockedBodyMap* body_map : _body_maps) body_map->getSysVarTransforms(transforms, var_id);
}

void BaUnlockedMapping::getUsedSysVarIds(BtDArray<int>* var_ids) const {
  std::vector<int> ids;
  for (const BaUnlockedBodyMap* body_map : _body_maps) {
    body_map->forEachSysVarId([&ids](int id) { ids.push_back(id); });
  }
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  CopyTo(var_ids, ids);
}

template <class Visit>
void BaUnlockedMapping::_forEachDriven(Visit visit) const {
  for (const BaUnlockedBodyMap* body_map : _body_maps) {
    for (int id = 1; id <= kBaTransformCount; ++id) {
      const BaUnlockedTransform* transform = FindTransform(body_map->transforms(), id);
      if (transform == nullptr) continue;
      std::vector<int> var_ids;
      transform->forEachSysVarId([&var_ids](int var_id) { var_ids.push_back(var_id); });
      std::sort(var_ids.begin(), var_ids.end());
      var_ids.erase(std::unique(var_ids.begin(), var_ids.end()), var_ids.end());
      for (const int var_id : var_ids) {
        visit(var_id, Driven{.kind = Driven::Kind::Transform,
                             .id = body_map->bodyId(),
                             .transform_id = id,
                             .factor = transform->factor(var_id)});
      }
    }
  }
  for (const TextureIndexMap& map : _texture_index_maps) {
    visit(map.sysvar_id, Driven{.kind = Driven::Kind::TextureIndex, .id = map.material_id});
  }
  for (const BlendEffectMap& map : _blend_effect_maps) {
    for (const BlendEffectMap::Slider& slider : map.sliders) {
      visit(slider.sysvar_id, Driven{.kind = Driven::Kind::Slider,
                                     .slider_group = map.slider_group,
                                     .slider = slider.name});
    }
  }
}

std::vector<BaUnlockedMapping::Driven> BaUnlockedMapping::drivenBy(int var_id) const {
  BtAssert(var_id > 0, "var_id>0");
  std::vector<Driven> driven;
  _forEachDriven([&driven, var_id](int id, const Driven& thing) {
    if (id == var_id) driven.push_back(thing);
  });
  return driven;
}

std::map<int, std::vector<BaUnlockedMapping::Driven>> BaUnlockedMapping::allDriven() const {
  std::map<int, std::vector<Driven>> driven;
  _forEachDriven([&driven](int id, const Driven& thing) { driven[id].push_back(thing); });
  return driven;
}

void BaUnlockedMapping::addBodyMap(const BaUnlockedBodyMap& body_map) {
  _addBodyMap(std::make_unique<BaUnlockedBodyMap>(body_map), body_map.bodyId());
}

void BaUnlockedMapping::_addBodyMap(std::unique_ptr<BaUnlockedBodyMap> body_map, int body_id) {
  const bool is_new = _body_map_index.try_emplace(body_id, body_map.get()).second;
  BtAssert(is_new, "bodyMap(body_id)==0");
  body_map->_setBodyId(body_id);
  body_map->_body_id.own();
  _body_maps.append(body_map.release());
}

void BaUnlockedMapping::removeBodyMap(int body_id) {
  const std::unique_ptr<BaUnlockedBodyMap> owner(bodyMap(body_id));
  BtAssert(owner != nullptr, "bodyMap(body_id)!=0");
  _body_map_index.erase(_body_map_index.find(body_id));
  _body_maps.removeValue(owner.get());
}

void BaUnlockedMapping::removeUnusedBodyMaps() {
  BtList<BaUnlockedBodyMap*> used;
  for (BaUnlockedBodyMap* body_map : _body_maps) {
    bool is_used = false;
    body_map->forEachSysVarId([&is_used](int) { is_used = true; });
    if (is_used) {
      used.append(body_map);
    } else {
      _body_map_index.erase(_body_map_index.find(body_map->bodyId()));
      const std::unique_ptr<BaUnlockedBodyMap> owner(body_map);
    }
  }
  _body_maps = std::move(used);
}

void BaUnlockedMapping::changeBodyId(int from, int to) {
  BaUnlockedBodyMap* body_map = bodyMap(from);
  BtAssert(body_map != nullptr, "bodyMap(from)!=0");
  BtAssert(bodyMap(to) == nullptr, "bodyMap(to)==0");
  body_map->_setBodyId(to);
  _body_map_index.erase(_body_map_index.find(from));
  _body_map_index.try_emplace(to, body_map);
}

void BaUnlockedMapping::changeBodyIds(const BtMap<int, int>& new_ids) {
  _body_map_index.clear();
  for (BaUnlockedBodyMap* body_map : _body_maps) {
    if (const int* const id = new_ids.find(body_map->bodyId())) body_map->_setBodyId(*id);
    const bool is_new = _body_map_index.try_emplace(body_map->bodyId(), body_map).second;
    BtAssert(is_new, "bodyMap(to)==0");
  }
}

int BaUnlockedMapping::highestSysVarUsed() const {
  int highest = 0;
  _forEachSysVarId([&highest](int id) { highest = std::max(highest, id); });
  return highest;
}

void BaUnlockedMapping::setHighestSysVar() {
  _num_sysvars = 0;
  for (const BaUnlockedBodyMap* body_map : _body_maps) {
    body_map->forEachSysVarId([this](int id) { _num_sysvars = std::max(_num_sysvars, id); });
  }
}
