// The edits that add to a model.

#include <algorithm>
#include <iostream>
#include <utility>

#include "Ba/bamodel.h"
#include "Bt/btgeoobj.h"
#include "Bt/bthash.h"

namespace {

// A body that cannot be added; an assertion is about to fail.
void ShowOffendingBody(const BaBody& body) {
  std::cerr << "Offending body:\n";
  body.debugPrintOn(std::cerr);
  std::cerr << std::flush;
}

template <class Objects>
bool HasId(const Objects& objects, int id) {
  return std::any_of(objects.begin(), objects.end(),
                     [id](const auto& object) { return object->id() == id; });
}

bool HasSlider(const BaModel& model, const BaVertexBlendEffect& blend) {
  const BaMDSliderGroup* const group = model.findSliderGroup(blend.slider_group);
  return group != nullptr && std::find(group->sliders().begin(), group->sliders().end(),
                                       blend.slider_name) != group->sliders().end();
}

// Asserts that the bodies and sliders that the effects of the vertices name exist.
void AssertEffects(const BaModel& model, const BaVertexElement& element) {
  for (const BaVertex& vertex : element.vertices()) {
    for (auto* effect = vertex.effects().first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() == BaFlex2Effect) {
        const auto* const flex2 = static_cast<const BaVertexFlex2Effect*>(effect);
        BtAssert(model.findBody(flex2->body_id) != nullptr, "findBody(flex2->body_id)");
      } else if (effect->type() == BaBlendEffect) {
        const auto* const blend = static_cast<const BaVertexBlendEffect*>(effect);
        BtAssert(HasSlider(model, *blend), "findSliderGroup(blend->slider_group)");
      }
    }
  }
}

}  // namespace

BaBody* BaModel::addBody(const BaBody& c_body) {
  _assertEditable();
  BtAssert(c_body.isValid(), "c_body.isValid()");
  BtAssert(c_body.id() >= 0, "c_body.id()>=0");
  const bool id_taken = findBody(c_body.id()) != nullptr;
  const bool name_taken = c_body.name().length() > 0 && findBody(c_body.name()) != nullptr;
  if (id_taken || name_taken) ShowOffendingBody(c_body);
  BtAssert(!id_taken, "_bodies[new_body->id()]==(BaBody *)0");
  BtAssert(!name_taken, "!findBody(c_body.name())");

  if (c_body.id() != 0 && _bodies.empty()) _addReferenceBody();
  const int parent_id = c_body.parentId();
  BtAssert(parent_id == BaBody::kNoParent || (c_body.id() != 0 && findBody(parent_id) != nullptr),
           "findBody(c_body.parentId())");
  auto body = std::make_unique<BaBody>();
  body->setName(c_body.name());
  body->setId(c_body.id());
  body->setParentId(parent_id);
  body->setTransform(c_body.transform());
  body->setPostScaleFactor(c_body.postScaleFactor());
  BaBody* const new_body = _take(std::move(body));
  _linkBody(new_body);
  return new_body;
}

void BaModel::_linkBody(BaBody* body) {
  BaBody* const parent = findBody(body->parentId());
  body->setParent(parent);
  if (parent == nullptr) return;
  BaBodyObj* const child = body;
  parent->insertChildren({&child, 1});
}

BaBody* BaModel::createBody(int id, int parent_id, const char* name, const Bt4X4FloatMat& transform,
                            int material_id, const Bt_GeoObj& geometry) {
  BaBody body;
  body.setId(id);
  body.setParentId(parent_id);
  body.setName(name);
  body.setTransform(transform);
  BaBody* const new_body = addBody(body);
  if (geometry.numStrips() > 0) addBodyTMeshes(id, material_id, geometry);
  return new_body;
}

BaMaterial* BaModel::addMaterial(const BaMaterial& material) {
  _assertEditable();
  BtAssert(materialByName(material.name()) == nullptr, "materialByName(material.name())==0");
  BtAssert(materialById(material.id()) == nullptr, "materialById(material.id())==0");
  return _take(std::make_unique<BaMaterial>(material));
}

BaLight* BaModel::addLight(const BaLight& light) {
  _assertEditable();
  const bool duplicate_light_id = HasId(_lights, light.id());
  BtAssert(!duplicate_light_id);
  return _take(std::make_unique<BaLight>(light));
}

BaLightingModel* BaModel::addLightingModel(const BaLightingModel& lighting_model) {
  _assertEditable();
  const bool duplicate_lmodel_id = HasId(_lighting_models, lighting_model.id());
  BtAssert(!duplicate_lmodel_id);
  return _take(std::make_unique<BaLightingModel>(lighting_model));
}

BaBone* BaModel::addBone(const BaBone& bone) {
  _assertEditable();
  return _take(std::make_unique<BaBone>(bone));
}

BaPolygon* BaModel::addBodyPolygon(int body_id, const BaPolygon& polygon) {
  _assertEditable();
  BtAssert(polygon.bodyId() == body_id, "polygon.bodyId()==body_id");
  BtAssert(!polygon.repeatsVertex(), "!polygon.repeatsVertex()");
  AssertEffects(*this, polygon);
  return _take(std::make_unique<BaPolygon>(polygon));
}

BaTexturedPolygon* BaModel::addBodyTexturedPolygon(int body_id, const BaTexturedPolygon& polygon) {
  _assertEditable();
  BtAssert(polygon.bodyId() == body_id, "polygon.bodyId()==body_id");
  BtAssert(!polygon.repeatsVertex(), "!polygon.repeatsVertex()");
  AssertEffects(*this, polygon);
  return _take(std::make_unique<BaTexturedPolygon>(polygon));
}

BaTMesh* BaModel::addBodyTMesh(int body_id, const BaTMesh& t_mesh) {
  _assertEditable();
  BtAssert(t_mesh.bodyId() == body_id, "t_mesh.bodyId()==body_id");
  AssertEffects(*this, t_mesh);
  return _take(std::make_unique<BaTMesh>(t_mesh));
}

BaTexturedTMesh* BaModel::addBodyTexturedTMesh(int body_id, const BaTexturedTMesh& t_mesh) {
  _assertEditable();
  BtAssert(t_mesh.bodyId() == body_id, "t_mesh.bodyId()==body_id");
  AssertEffects(*this, t_mesh);
  return _take(std::make_unique<BaTexturedTMesh>(t_mesh));
}

BaFlexiblePolygon* BaModel::addBodyFlexiblePolygon(int body_id, const BaFlexiblePolygon& polygon) {
  _assertEditable();
  BtAssert(polygon.bodyId() == body_id, "polygon.bodyId()==body_id");
  BtAssert(findBody(polygon.otherBodyId()) != nullptr, "findBody(polygon.otherBodyId())");
  AssertEffects(*this, polygon);
  return _take(std::make_unique<BaFlexiblePolygon>(polygon));
}

BaMuscle* BaModel::addMuscle(const BaMuscle& muscle) {
  _assertEditable();
  return _take(std::make_unique<BaMuscle>(muscle));
}

void BaModel::addBodyTMeshes(int body_id, int material_id, const Bt_GeoObj& geometry) {
  _assertEditable();
  BtAssert(findBody(body_id) != nullptr, "findBody(body_id)");
  BtAssert(materialById(material_id) != nullptr, "materialById(material_id)");
  for (int i = 0; i < geometry.numStrips(); ++i) {
    const std::span<const int> strip = geometry.strip(i);
    BtDArray<BaVertex> vertices(static_cast<int>(strip.size()));
    std::transform(strip.begin(), strip.end(), vertices.begin(), [&geometry](int index) {
      const Bt_GeoObj::Point& point = geometry.vertex(index);
      return BaVertex(point[0], point[1], point[2]);
    });
    auto mesh = std::make_unique<BaTMesh>(body_id, material_id);
    mesh->setVertices(std::move(vertices));
    _take(std::move(mesh));
  }
}

void BaModel::addSliderGroups(const BtList<BaMDSliderGroup*>& groups) {
  _assertEditable();
  for (const BaMDSliderGroup* group : groups) {
    BaMDSliderGroup* const known = findSliderGroup(group->name());
    if (known == nullptr) {
      _take(std::make_unique<BaMDSliderGroup>(*group));
      continue;
    }
    BtHashSet<BtStr> sliders(known->sliders().begin(), known->sliders().end());
    // A copy, because the group may be the known one itself.
    const BtList<BtStr> added = group->sliders();
    for (const BtStr& slider : added) {
      if (sliders.insert(slider).second) known->addSlider(slider);
    }
  }
}
