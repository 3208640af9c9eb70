#include "Ba/bamodel.h"

#include <algorithm>

#include "Bt/btexcept.h"

namespace {

// By how much the collections grow at least.
constexpr int kBodyChunk = 50;
constexpr int kBoneChunk = 50;
constexpr int kPolygonChunk = 1000;
constexpr int kTexturedPolygonChunk = 500;
constexpr int kFlexiblePolygonChunk = 500;
constexpr int kTMeshChunk = 100;

template <class T>
T* Append(BtList<std::unique_ptr<T>>* list, std::unique_ptr<T> element) {
  T* const plain = element.get();
  list->append(std::move(element));
  return plain;
}

}  // namespace

BaModel::BaModel() { _clear(); }

BaModel::~BaModel() {
  _clear();
  _valid = 0;
}

void BaModel::_clear() {
  BtAssert(isValid(), "isValid()");
  _loading = false;
  _n_bodies = 0;
  _bodies_by_name.clear();
  _materials_by_id.clear();
  _materials_by_name.clear();
  _slider_groups_by_name.clear();
  _last_material = nullptr;
  _bodies.clear();
  _lighting_models.clear();
  _lights.clear();
  _materials.clear();
  _polygons.clear();
  _bones.clear();
  _textured_polygons.clear();
  _flexible_polygons.clear();
  _t_meshes.clear();
  _textured_t_meshes.clear();
  _muscles.clear();
  _slider_groups.clear();
  _arena.clear();
  _length_units = {.name = "INCHES"};
  _angle_units = {.name = "RADIANS"};
  _combine_vertex_normals = true;
  _version = 0;
}

void BaModel::beginLoad() {
  BtAssert(isValid(), "isValid()");
  BtAssert(_bodies.empty(), "_bodies.size()==0");
  BtAssert(_bones.empty(), "_bones.size()==0");
  BtAssert(_polygons.empty(), "_polygons.size()==0");
  BtAssert(_textured_polygons.empty(), "_textured_polygons.size()==0");
  BtAssert(_flexible_polygons.empty(), "_flexible_polygons.size()==0");
  BtAssert(_t_meshes.empty(), "_t_meshes.size()==0");
  BtAssert(_textured_t_meshes.empty(), "_textured_t_meshes.size()==0");
  _addReferenceBody();
  _loading = true;
}

void BaModel::_addReferenceBody() {
  auto reference = std::make_unique<BaBody>();
  reference->setId(0);
  reference->setName(kReferenceBodyName);
  _take(std::move(reference));
}

bool BaModel::endLoad() {
  BtAssert(_loading, "isLoading()");
  _trim();
  if (!_linkBodies()) return false;
  _loading = false;
  return true;
}

void BaModel::_assertEditable() const {
  BtAssert(isValid(), "isValid()");
  BtAssert(!_loading, "!isLoading()");
}

void BaModel::_trim() {
  int slots = _bodies.size();
  while (slots > 0 && _bodies[slots - 1] == nullptr) --slots;
  _bodies.resizeSparsely(slots);
  for (const auto& body : _bodies) {
    if (body != nullptr) body->postAddElements();
  }
  _bones.trim();
  _polygons.trim();
  _textured_polygons.trim();
  _flexible_polygons.trim();
  _t_meshes.trim();
  _textured_t_meshes.trim();
}

bool BaModel::_linkBodies() {
  if (!_checkParents() || !_checkAncestors()) return false;
  for (const auto& body : _bodies) {
    if (body != nullptr) body->clearChildren();
  }
  for (int id = 1; id < _bodies.size(); ++id) {
    if (_bodies[id] == nullptr) continue;
    BaBody* const parent = findBody(_bodies[id]->parentId());
    _bodies[id]->setParent(parent);
    parent->appendChild(_bodies[id].get());
  }
  return true;
}

bool BaModel::_checkParents() const {
  for (int id = 1; id < _bodies.size(); ++id) {
    const BaBody* const body = _bodies[id].get();
    if (body == nullptr || findBody(body->parentId()) != nullptr) continue;
    return BtFail(BtCode("parent-missing"), "Body \"%s\" specifies an undefined parent body (%d).",
                  static_cast<const char*>(body->name()), body->parentId());
  }
  return true;
}

bool BaModel::_checkAncestors() const {
  // Every body knows the walk that passed it first. A walk up from a body ends at one that an
  // earlier walk has passed, at the reference body as a rule; if it meets itself the bodies form a
  // circle.
  BtDArray<int> passed_by;
  passed_by.resizeSparsely(_bodies.size());
  for (int start = 1; start < _bodies.size(); ++start) {
    if (_bodies[start] == nullptr) continue;
    int id = start;
    while (id != 0 && passed_by[id] == 0) {
      passed_by[id] = start;
      id = _bodies[id]->parentId();
    }
    if (id == 0 || passed_by[id] != start) continue;
    return BtFail(BtCode("parent-circle"), "Body \"%s\" is its own ancestor.",
                  static_cast<const char*>(_bodies[id]->name()));
  }
  return true;
}

BaBody* BaModel::_take(std::unique_ptr<BaBody> body) {
  BtAssert(isValid(), "isValid()");
  const int id = body->id();
  BtAssert(id >= 0, "c_body.id()>=0");
  BtAssert(id <= kMaxBodyId);
  BtAssert(findBody(id) == nullptr, "_bodies[new_body->id()]==(BaBody *)0");
  _growBodyTable(id);
  // Files have both for "none".
  if (id != 0 && body->parentId() == BaBody::kNoParent) body->setParentId(0);
  body->preAddElements();
  body->_name.own();
  body->_id.own();
  _bodies[id] = std::move(body);
  _indexBody(_bodies[id].get());
  return _bodies[id].get();
}

void BaModel::_growBodyTable(int id) {
  if (id < _bodies.size()) return;
  // Ids from here on are given with wide gaps, or to very many bodies: then the table takes address
  // space for all ids at once, and memory where bodies are.
  constexpr int kFirstHighId = 1 << 16;
  if (id >= kFirstHighId) return _bodies.resizeSparsely(kMaxBodyId + 1);
  const int growth = std::max(kBodyChunk, _bodies.size() / 2);
  _bodies.resize(std::max(_bodies.size() + growth, id + kBodyChunk));
}

void BaModel::_indexBody(BaBody* body) {
  ++_n_bodies;
  const auto [entry, is_new] = _bodies_by_name.try_emplace(body->name(), body);
  if (!is_new && body->id() < entry->second->id()) entry->second = body;
}

void BaModel::_unindexBody(const BaBody* body, const BtStr& name) {
  const bool names_are_unique = static_cast<std::size_t>(_n_bodies) == _bodies_by_name.size();
  --_n_bodies;
  const auto entry = _bodies_by_name.find(name);
  if (entry == _bodies_by_name.end() || entry->second != body) return;
  _bodies_by_name.erase(entry);
  if (names_are_unique) return;
  for (const auto& other : _bodies) {
    if (other == nullptr || other->name() != name) continue;
    _bodies_by_name.try_emplace(other->name(), other.get());
    return;
  }
}

BaMaterial* BaModel::_take(std::unique_ptr<BaMaterial> material) {
  BtAssert(isValid(), "isValid()");
  BtAssert(materialById(material->id()) == nullptr, "materialById(material.id())==0");
  BaMaterial* const plain = Append(&_materials, std::move(material));
  _indexMaterial(plain);
  return plain;
}

void BaModel::_indexMaterial(BaMaterial* material) {
  BtAssert(!material->name().isNull(), "!mat->name().isNull()");
  material->_name.own();
  material->_id.own();
  _materials_by_id.try_emplace(material->id(), material);
  _materials_by_name.try_emplace(material->name(), material);
}

void BaModel::_indexMaterials() {
  _materials_by_id.clear();
  _materials_by_name.clear();
  for (const auto& material : _materials) _indexMaterial(material.get());
}

BaLightingModel* BaModel::_take(std::unique_ptr<BaLightingModel> lighting_model) {
  return Append(&_lighting_models, std::move(lighting_model));
}

BaLight* BaModel::_take(std::unique_ptr<BaLight> light) {
  return Append(&_lights, std::move(light));
}

BaMuscle* BaModel::_take(std::unique_ptr<BaMuscle> muscle) {
  return Append(&_muscles, std::move(muscle));
}

BaMDSliderGroup* BaModel::_take(std::unique_ptr<BaMDSliderGroup> group) {
  BaMDSliderGroup* const plain = Append(&_slider_groups, std::move(group));
  plain->_name.own();
  _slider_groups_by_name.try_emplace(plain->name(), plain);
  return plain;
}

template <class T>
T* BaModel::_addElement(Elements<T>* elements, std::unique_ptr<T> element, int chunk) {
  BaBody* const body = findBody(element->bodyId());
  BtAssert(body != nullptr, "findBody(body_id)");
  const int material_id = element->materialId();
  if (_last_material == nullptr || _last_material->id() != material_id) {
    _last_material = materialById(material_id);
    BtAssert(_last_material != nullptr, "materialById(material_id)");
  }
  body->add(element.get());
  elements->add(std::move(element), chunk);
  return elements->last().get();
}

BaBone* BaModel::_take(std::unique_ptr<BaBone> bone) {
  return _addElement(&_bones, std::move(bone), kBoneChunk);
}

BaPolygon* BaModel::_take(std::unique_ptr<BaPolygon> polygon) {
  return _addElement(&_polygons, std::move(polygon), kPolygonChunk);
}

BaTexturedPolygon* BaModel::_take(std::unique_ptr<BaTexturedPolygon> polygon) {
  return _addElement(&_textured_polygons, std::move(polygon), kTexturedPolygonChunk);
}

BaFlexiblePolygon* BaModel::_take(std::unique_ptr<BaFlexiblePolygon> polygon) {
  return _addElement(&_flexible_polygons, std::move(polygon), kFlexiblePolygonChunk);
}

BaTMesh* BaModel::_take(std::unique_ptr<BaTMesh> mesh) {
  return _addElement(&_t_meshes, std::move(mesh), kTMeshChunk);
}

BaTexturedTMesh* BaModel::_take(std::unique_ptr<BaTexturedTMesh> mesh) {
  return _addElement(&_textured_t_meshes, std::move(mesh), kTMeshChunk);
}

BaBody* BaModel::findBody(int id) const {
  return id >= 0 && id < _bodies.size() ? _bodies[id].get() : nullptr;
}

BaBody* BaModel::findBody(const BtStr& name) const {
  const auto entry = _bodies_by_name.find(name);
  return entry == _bodies_by_name.end() ? nullptr : entry->second;
}

BaMaterial* BaModel::materialById(int id) const {
  const auto entry = _materials_by_id.find(id);
  return entry == _materials_by_id.end() ? nullptr : entry->second;
}

BaMaterial* BaModel::materialByName(const char* name) const {
  const auto entry = _materials_by_name.find(name);
  return entry == _materials_by_name.end() ? nullptr : entry->second;
}

BaMDSliderGroup* BaModel::findSliderGroup(const BtStr& name) const {
  const auto entry = _slider_groups_by_name.find(name);
  return entry == _slider_groups_by_name.end() ? nullptr : entry->second;
}
