#include "Ba/bamodeldata.h"

#include <array>
#include <numbers>

#include "Bt/btangles.h"
#include "bamdsection.h"

namespace {

template <class Value>
Value* Find(const BtNameMap<Value*>& by_name, const BtStr& name) {
  const auto found = by_name.find(name);
  return found == by_name.end() ? nullptr : found->second;
}

// Flex effects follow the body with the name image(name) instead; others stay.
template <class Image>
void ChangeFollowedBody(Image image, BaMDVertexEffects* effects) {
  auto* const flex = dynamic_cast<BaMDFlexVEffects*>(effects);
  if (flex != nullptr) flex->setBodyName(image(flex->bodyName()));
}

}  // namespace

BaModelData::BaModelData() { clear(); }

BaModelData::~BaModelData() { _deleteSections(); }

void BaModelData::clear() {
  _length_units = {"INCHES", 1.0F};
  _angle_units = {"RADIANS", 1.0F};
  _directory = ".";
  _deleteSections();
}

void BaModelData::clearShapes() {
  _by_body_name.forEachValue(
      [](BodyEntry& entry) { entry.geometries = std::vector<BaMDGeometry*>(); });
  _vertex_sets_by_name.clear();
  BaDeleteAll(&_vertex_sets);
  BaDeleteAll(&_geometries);
}

// Needs no memory: the file may stand already when a document goes.
void BaModelData::_deleteSections() {
  _by_body_name.clear();
  _by_body_id.clear();
  _slider_groups_by_name.clear();
  _materials_by_name.clear();
  clearShapes();
  BaDeleteAll(&_bodies);
  BaDeleteAll(&_slider_groups);
  BaDeleteAll(&_materials);
  BaDeleteAll(&_includes);
}

BaMDBody* BaModelData::bodyByName(const BtStr& name) const {
  const auto found = _by_body_name.find(name);
  return found == _by_body_name.end() ? nullptr : found->second.body;
}

BaMDBody* BaModelData::bodyById(int id) const {
  const auto found = _by_body_id.find(id);
  return found == _by_body_id.end() ? nullptr : found->second;
}

const std::vector<BaMDBody*>& BaModelData::childBodies(const BtStr& parent_name) const {
  static const std::vector<BaMDBody*> none;
  const auto found = _by_body_name.find(parent_name);
  return found == _by_body_name.end() ? none : found->second.children;
}

const std::vector<BaMDBody*>& BaModelData::childBodies(const BaMDBody& parent) const {
  return _by_body_name.valueAt(parent._name.place()).children;
}

const std::vector<BaMDGeometry*>& BaModelData::geometriesOf(const BaMDBody& body) const {
  return _by_body_name.valueAt(body._name.place()).geometries;
}

const std::vector<BaMDGeometry*>& BaModelData::geometriesOf(const BtStr& body_name) const {
  static const std::vector<BaMDGeometry*> none;
  const auto found = _by_body_name.find(body_name);
  return found == _by_body_name.end() ? none : found->second.geometries;
}

BaMDMaterial* BaModelData::materialByName(const BtStr& name) const {
  return Find(_materials_by_name, name);
}

BaMDVertices* BaModelData::vertexSetByName(const BtStr& name) const {
  return Find(_vertex_sets_by_name, name);
}

BaMDSliderGroup* BaModelData::sliderGroupByName(const BtStr& name) const {
  return Find(_slider_groups_by_name, name);
}

void BaModelData::_indexBody(BaMDBody* body) {
  auto* const entry = _by_body_name.try_emplace(body->name()).first;
  if (entry->second.body == nullptr) entry->second.body = body;
  body->_name.own(_by_body_name.placeOf(entry));
  if (body->hasId()) _by_body_id.try_emplace(body->id(), body);
  _by_body_name[body->parentName()].children.push_back(body);
  body->_id.own();
  body->_parent_name.own();
}

BaMDBody* BaModelData::addBody(std::unique_ptr<BaMDBody> body) {
  BtAssert(body != nullptr, "body");
  _indexBody(body.get());
  return BaAppend(&_bodies, std::move(body));
}

BaMDSliderGroup* BaModelData::addSliderGroup(std::unique_ptr<BaMDSliderGroup> group) {
  BtAssert(group != nullptr, "group");
  _slider_groups_by_name.try_emplace(group->name(), group.get());
  group->_name.own();
  return BaAppend(&_slider_groups, std::move(group));
}

BaMDMaterial* BaModelData::addMaterial(std::unique_ptr<BaMDMaterial> material) {
  BtAssert(material != nullptr, "material");
  _materials_by_name.try_emplace(material->name(), material.get());
  material->_name.own();
  return BaAppend(&_materials, std::move(material));
}

BaMDVertices* BaModelData::addVertexSet(std::unique_ptr<BaMDVertices> vertices) {
  BtAssert(vertices != nullptr, "vertices");
  _vertex_sets_by_name.try_emplace(vertices->name(), vertices.get());
  vertices->_name.own();
  return BaAppend(&_vertex_sets, std::move(vertices));
}

BaMDGeometry* BaModelData::addGeometry(std::unique_ptr<BaMDGeometry> geometry) {
  BtAssert(geometry != nullptr, "geometry");
  _by_body_name[geometry->bodyName()].geometries.push_back(geometry.get());
  geometry->_body_name.own();
  return BaAppend(&_geometries, std::move(geometry));
}

BaMDInclude* BaModelData::addInclude(std::unique_ptr<BaMDInclude> include) {
  BtAssert(include != nullptr, "include");
  return BaAppend(&_includes, std::move(include));
}

// Exact, unlike the way back: a body that is turned by 180 degrees must not come to stand a little
// beyond, where it is turned by -180.
double BaModelData::radiansPerAngleUnit() const {
  const auto factor = static_cast<double>(_angle_units.factor);
  return _angle_units.name == "DEGREES" ? factor * (std::numbers::pi / 180) : factor;
}

void BaModelData::getCoordSystem(const BaMDBody& body, BtCoordSystem* coord_system) const {
  const BaMDCoordSys& document = body.coordSys();
  const double unit = radiansPerAngleUnit();
  std::array<double, 3> angles = {};
  for (std::size_t axis = 0; axis < angles.size(); ++axis) {
    angles[axis] = static_cast<double>(document.rotation()[axis]) * unit;
  }
  *coord_system = BtCoordSystem(BtComposeRotationMatrix(angles, document.rotationOrder()),
                                document.translation());
}

void BaModelData::changeBodyNames(const BtMap<BtStr, BtStr, std::less<BtStr>>& names) {
  const auto image = [&names](const BtStr& name) {
    const BtStr* new_name = name.isNull() ? nullptr : names.find(name);
    return new_name == nullptr ? name : *new_name;
  };
  _by_body_name.clear();
  _by_body_id.clear();
  for (BaMDBody* body_ptr : _bodies) {
    BtAssert(body_ptr, "body_ptr");
    body_ptr->_name.change(image(body_ptr->name()));
    body_ptr->_parent_name.change(image(body_ptr->parentName()));
    _indexBody(body_ptr);
  }
  for (BaMDGeometry* geo_ptr : _geometries) {
    BtAssert(geo_ptr, "geo_ptr");
    geo_ptr->_body_name.change(image(geo_ptr->bodyName()));
    _by_body_name[geo_ptr->bodyName()].geometries.push_back(geo_ptr);
  }
  for (BaMDVertices* vertices : _vertex_sets) {
    for (BaMDVertexEffects* effects : vertices->effects()) ChangeFollowedBody(image, effects);
  }
}
