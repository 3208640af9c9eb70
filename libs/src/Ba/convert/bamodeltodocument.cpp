// From a model to a document.
#include <array>
#include <cmath>
#include <iostream>

#include "Bt/btangles.h"
#include "Bt/bthash.h"
#include "bablendchecker.h"
#include "baconvert.h"
#include "bamdsection.h"
#include "bamodelwalk.h"
#include "bapolygonremover.h"

namespace {

// Turns merging of vertices on or off, and on again at the end.
class MergeSwitch {
 public:
  explicit MergeSwitch(bool merge) { BaModelData_PolySet::setMergeVertices(merge); }
  ~MergeSwitch() { BaModelData_PolySet::setMergeVertices(true); }
  MergeSwitch(const MergeSwitch&) = delete;
  MergeSwitch& operator=(const MergeSwitch&) = delete;
};

// The sequence of the angles in filled documents.
constexpr std::array<int, 3> kRotationOrder = {3, 2, 1};

// Warns of what three angles cannot say about the axes of a body.
void WarnOfLostForm(const BtStr& body_name, const BtRotationAxes& axes) {
  const auto warn = [&body_name](const char* what) {
    BtWarn(BtCode("scaled-transform"), "The transform of body \"" + body_name + what);
  };
  if (axes.isScaled()) warn("\" is scaled.  The scale is not kept.");
  if (axes.isSheared()) warn("\" is sheared.  The shear is not kept.");
}

class ModelFiller {
 public:
  ModelFiller(const BaModel& model, BaModelData* data)
      : _model(model), _data(data), _geometry_maker([this](int id) {
          const auto name = _material_names.find(id);
          BtAssert(name != _material_names.end(), "model.materialById(material_id)");
          return name->second;
        }) {}

  // False, with an error recorded, when a body has no form in a document that is empty.
  [[nodiscard]] bool checkBodies() const;
  // Adds all bodies, parents first; false when the user wants to stop.
  bool addBodies();
  // Adds one body with its shape. Nothing is added when an error is recorded.
  bool addBody(const BaBody& body);
  void addMaterials();
  // Adds the vertex sets and geometries of all bodies; false when the user wants to stop. Deletes
  // the polygons of `emptied`, which is the model or null, as soon as they are not needed.
  bool addShapes(BaModel* emptied);
  void warnOfLeftOut() const;

 private:
  using Names = BtNameMap<const BaBody*>;
  // Its polygons and their vertices; both are null for a body without polygons.
  struct Shape {
    const BaModelData_PolySet* poly_set = nullptr;
    std::unique_ptr<BaMDVertices> vertices;
  };

  [[nodiscard]] bool _checkBody(const BaBody& body, Names* names) const;
  [[nodiscard]] bool _checkParent(const BaBody& body) const;
  std::unique_ptr<BaMDBody> _toMDBody(const BaBody& body) const;
  // Until the next body's.
  [[nodiscard]] Shape _shapeOf(const BaBody& body);
  void _addShape(const BaBody& body, Shape shape);
  // Adds the slider groups of the model that blends name and the document lacks.
  bool _addSliderGroupsOf(const BaMDVertices& vertices);
  [[nodiscard]] BtStr _freeMaterialName(const BaMaterial& material) const;

  const BaModel& _model;
  BaModelData* _data;
  BtHashMap<int, BtStr> _material_names;  // by id
  BaGeometryMaker _geometry_maker;
  BaModelData_PolySet _poly_set{0, 0};  // of one body after the other
};

bool ModelFiller::_checkBody(const BaBody& body, Names* names) const {
  const BtStr name = BaDocumentName(body);
  if (name == BaMDBody::kWorldName)
    return BtFail(BtCode("body-name-world"), "A body cannot have the name \"GLOBAL\".");
  if (_data->bodyByName(name) != nullptr || !names->try_emplace(name, &body).second) {
    return BtFail(BtCode("body-name-clash"), "Multiple bodies have name \"" + name + "\".");
  }
  if (_data->bodyById(body.id()) != nullptr) {
    return BtFail(BtCode("body-id-duplicate"), "Multiple bodies have id %d.", body.id());
  }
  BtRotationAxes axes;
  if (!BtGetRotationAxes(&axes, BtCoordSystem(body.transform()).rotation())) {
    return BtFail(BtCode("left-handed"),
                  "Body \"" + name + "\" has a left-handed or degenerate transform.");
  }
  return true;
}

bool ModelFiller::_checkParent(const BaBody& body) const {
  if (body.parentId() <= 0) return true;
  const BaBody* parent = _model.findBody(body.parentId());
  if (parent != nullptr && _data->bodyByName(BaDocumentName(*parent)) != nullptr) return true;
  const BtStr shown =
      parent == nullptr ? BtFormat("(%d)", body.parentId()) : "\"" + BaDocumentName(*parent) + "\"";
  return BtFail(
      BtCode("parent-missing"),
      "Body \"" + BaDocumentName(body) + "\" specifies an undefined parent body " + shown + ".");
}

std::unique_ptr<BaMDBody> ModelFiller::_toMDBody(const BaBody& body) const {
  auto md_body = std::make_unique<BaMDBody>();
  md_body->setName(BaDocumentName(body));
  md_body->setId(body.id());
  const BaBody* parent = body.parentId() == 0 ? nullptr : _model.findBody(body.parentId());
  md_body->setParentName(parent == nullptr ? BtStr(BaMDBody::kWorldName) : BaDocumentName(*parent));
  const BtCoordSystem coord_system(body.transform());
  BtRotationAxes axes;
  const bool is_rotation = BtGetRotationAxes(&axes, coord_system.rotation());
  BtAssert(is_rotation);
  WarnOfLostForm(md_body->name(), axes);
  BtFloatArray angles(3);
  BtGetDecomposedRotationMatrix(std::span<float, 3>(angles.begin(), 3), kRotationOrder,
                                axes.matrix);
  for (float& angle : angles) {
    angle = static_cast<float>(static_cast<double>(angle) / _data->radiansPerAngleUnit());
  }
  BaMDCoordSys coord_sys;
  coord_sys.setTranslation(coord_system.origin());
  coord_sys.setRotationVector(angles);
  coord_sys.setRotationOrder(kRotationOrder);
  md_body->setCoordSys(coord_sys);
  return md_body;
}

bool ModelFiller::checkBodies() const {
  Names names;
  names.reserve(static_cast<std::size_t>(_model.numBodies()));
  for (const std::unique_ptr<BaBody>& body : _model.bodies()) {
    if (body != nullptr && body->id() != 0 && !_checkBody(*body, &names)) return false;
  }
  return true;
}

bool ModelFiller::addBodies() {
  std::vector<const BaBody*> pending;
  for (int id = _model.bodies().size() - 1; id >= 1; --id) {
    const BaBody* body = _model.findBody(id);
    if (body != nullptr && body->parentId() == 0) pending.push_back(body);
  }
  while (!pending.empty()) {
    if (theExceptObj.checkCancel()) return false;
    const BaBody* body = pending.back();
    pending.pop_back();
    _data->addBody(_toMDBody(*body));
    for (int i = body->numChildren() - 1; i >= 0; --i) pending.push_back(body->child(i));
  }
  return true;
}

bool ModelFiller::addBody(const BaBody& body) {
  Names names;
  if (!_checkBody(body, &names) || !_checkParent(body)) return false;
  for (const std::unique_ptr<BaMaterial>& material : _model.materials()) {
    _material_names.emplace(material->id(), material->name());
  }
  Shape shape = _shapeOf(body);
  if (shape.vertices != nullptr && _data->vertexSetByName(shape.vertices->name()) != nullptr) {
    return BtFail("Multiple vertex sets have name \"" + shape.vertices->name() + "\".");
  }
  if (shape.vertices != nullptr && !_addSliderGroupsOf(*shape.vertices)) return false;
  _data->addBody(_toMDBody(body));
  if (shape.poly_set != nullptr || !body.bones().empty()) _addShape(body, std::move(shape));
  return true;
}

bool ModelFiller::_addSliderGroupsOf(const BaMDVertices& vertices) {
  BaBlendChecker checker;
  std::vector<const BaMDSliderGroup*> missing;
  for (const BaMDVertexEffects* effects : vertices.effects()) {
    const BaMDBlendVEffects* blend = effects->asBlend();
    if (blend == nullptr) continue;
    const BaMDSliderGroup* group = _data->sliderGroupByName(blend->sliderGroup());
    if (group == nullptr) {
      group = _model.findSliderGroup(blend->sliderGroup());
      missing.push_back(group);
    }
    if (!checker.check(*blend, group)) return false;
  }
  for (const BaMDSliderGroup* group : missing) {
    if (_data->sliderGroupByName(group->name()) != nullptr) continue;
    _data->addSliderGroup(std::make_unique<BaMDSliderGroup>(*group));
  }
  return true;
}

BtStr ModelFiller::_freeMaterialName(const BaMaterial& material) const {
  const BtStr stem = BtFormat("%s_%d", static_cast<const char*>(material.name()), material.id());
  BtStr name = stem;
  for (int i = 2; _data->materialByName(name) != nullptr || _model.materialByName(name) != nullptr;
       ++i) {
    name = BtFormat("%s_%d", static_cast<const char*>(stem), i);
  }
  return name;
}

void ModelFiller::addMaterials() {
  for (const std::unique_ptr<BaMaterial>& material : _model.materials()) {
    auto md_material = BaToMDMaterial(*material);
    BtStr name = material->name();
    if (_data->materialByName(name) != nullptr) {
      name = _freeMaterialName(*material);
      BtWarn(BtCode("material-name-clash"), "Multiple materials have name \"" + material->name() +
                                                "\".  One of them is called \"" + name + "\" now.");
    }
    md_material->setName(name);
    _material_names.emplace(material->id(), name);
    _data->addMaterial(std::move(md_material));
  }
}

ModelFiller::Shape ModelFiller::_shapeOf(const BaBody& body) {
  if (!body.hasPolygons()) return {};
  _poly_set.gather(&body);
  return {&_poly_set, BaToMDVertices(_model, _poly_set)};
}

void ModelFiller::_addShape(const BaBody& body, Shape shape) {
  BtStr vertices_name;
  if (shape.vertices != nullptr) {
    vertices_name = _data->addVertexSet(std::move(shape.vertices))->name();
  }
  _data->addGeometry(_geometry_maker.make(body, shape.poly_set, vertices_name));
}

bool ModelFiller::addShapes(BaModel* emptied) {
  Ba_PolygonRemover remover(emptied);
  for (const std::unique_ptr<BaBody>& body : _model.bodies()) {
    if (theExceptObj.checkCancel()) return false;
    if (body == nullptr || (!body->hasPolygons() && body->bones().empty())) continue;
    if (body->id() == 0) {
      BtWarn(
          BtCode("left-out"),
          "Polygons and bones of the world (body id 0) have no body in a model document.  They are "
          "left out.");
    } else {
      Shape shape = _shapeOf(*body);
      remover.removeUpTo(body->id());
      _addShape(*body, std::move(shape));
    }
  }
  return true;
}

void ModelFiller::warnOfLeftOut() const {
  Ba_WarnOfPostScale(_model);
  if (!_model.flexiblePolygons().empty()) {
    BtWarn(BtCode("left-out"),
           "%d flexible polygons have no form in a model document.  They are left out.",
           _model.flexiblePolygons().size());
  }
}

}  // namespace

bool BaModelData::fillFrom(const BaModel& model, bool merge_vertices) {
  return _fillFrom(model, merge_vertices, nullptr);
}

bool BaModelData::moveFrom(BaModel* model, bool merge_vertices) {
  const bool is_filled = _fillFrom(*model, merge_vertices, model);
  model->removePolygons();  // after a failure, and those of the world
  return is_filled;
}

bool BaModelData::_fillFrom(const BaModel& model, bool merge_vertices, BaModel* emptied) {
  BtAssert(!BtError(), "!BtError()");
  BtAssert(!model.isLoading(), "!model.isLoading()");
  clear();
  const MergeSwitch merge_switch(merge_vertices);
  if (_addAllOf(model, emptied)) return true;
  clear();
  return false;
}

bool BaModelData::_addAllOf(const BaModel& model, BaModel* emptied) {
  _combine_vertex_normals = model.combineVertexNormals();
  _length_units = model.lengthUnits();
  _angle_units = model.angleUnits();
  for (const std::unique_ptr<BaMDSliderGroup>& group : model.sliderGroups()) {
    addSliderGroup(std::make_unique<BaMDSliderGroup>(*group));
  }
  ModelFiller filler(model, this);
  if (!filler.checkBodies()) return false;
  const auto n_bodies = static_cast<std::size_t>(model.numBodies());
  _by_body_name.reserve(n_bodies);
  _by_body_id.reserve(n_bodies);
  _vertex_sets_by_name.reserve(n_bodies);
  if (!filler.addBodies()) return false;
  filler.addMaterials();
  if (!filler.addShapes(emptied)) return false;
  _assertGeometryBodies();
  if (!_checkBlendGroups() || !_checkBlendEffects()) return false;
  filler.warnOfLeftOut();
  return true;
}

bool BaModelData::fillBodyFrom(const BaModel& model, int body_id, bool merge_vertices) {
  BtAssert(!BtError(), "!BtError()");
  const BaBody* body = model.findBody(body_id);
  BtAssert(body != nullptr && body_id > 0, "body");
  const MergeSwitch merge_switch(merge_vertices);
  BtList<BaMaterial*> used_materials;
  model.getUsedMaterials(&used_materials, body_id);
  for (const BaMaterial* material : used_materials) {
    BtAssert(materialByName(material->name()), "materialByName(material.name())");
  }
  ModelFiller filler(model, this);
  if (!filler.addBody(*body)) return false;
  Ba_WarnOfPostScale(model, body);
  _assertGeometryBodies();
  return true;
}

// A model whose geometry hangs on bodies that its own tree does not hold is broken.
void BaModelData::_assertGeometryBodies() const {
  if (!_checkGeometryBodies()) {
    BtStr text;
    BtGetExceptionStr(&text, theExceptObj.exception());
    std::cerr << text << std::flush;
  }
  BtAssert(!BtError(), "!BtError()");
}
