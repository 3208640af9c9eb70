// From a model to a document.
#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <string>

#include "baconvert.h"
#include "bamdsection.h"
#include "btangles.h"

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
  const BtStr start = "The transform of body \"" + body_name;
  if (axes.isScaled()) theExceptObj.setAsWarning(start + "\" is scaled.  The scale is not kept.");
  if (axes.isSheared()) theExceptObj.setAsWarning(start + "\" is sheared.  The shear is not kept.");
}

class ModelFiller {
 public:
  ModelFiller(const BaModel& model, BaModelData* data) : _model(model), _data(data) {}

  // Adds all bodies, parents first. Nothing is added when an error is recorded.
  bool addBodies();
  // Adds one body.
  bool addBody(const BaBody& body);
  void addMaterials();
  // Adds the vertex sets and geometries of all bodies; false when the user wants to stop.
  bool addShapes();
  // Adds those of one body.
  void addShape(const BaBody& body, const BaModelData_PolySet* poly_set);
  // Materials are found by the names that they have in the model.
  void useModelMaterialNames();
  void warnOfLeftOut() const;

 private:
  using Names = BaNameMap<const BaBody*>;

  [[nodiscard]] bool _checkBody(const BaBody& body, Names* names) const;
  std::unique_ptr<BaMDBody> _toMDBody(const BaBody& body) const;
  [[nodiscard]] BtStr _freeMaterialName(const BaMaterial& material) const;

  const BaModel& _model;
  BaModelData* _data;
  std::unordered_map<int, BtStr> _material_names;  // by id
};

bool ModelFiller::_checkBody(const BaBody& body, Names* names) const {
  const BtStr name = BaDocumentName(body);
  if (name == BaMDBody::kWorldName) {
    return BaFail("A body cannot have the name \"GLOBAL\".");
  }
  if (_data->bodyByName(name) != nullptr || !names->try_emplace(name, &body).second) {
    return BaFail("Multiple bodies have name \"" + name + "\".");
  }
  BtRotationAxes axes;
  if (!BtGetRotationAxes(&axes, BtCoordSystem(body.transform()).rotation())) {
    return BaFail("Body \"" + name + "\" has a left-handed or degenerate transform.");
  }
  return true;
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

bool ModelFiller::addBodies() {
  Names names;
  std::vector<const BaBody*> pending;
  for (int id = _model.bodies().size() - 1; id >= 1; --id) {
    const BaBody* body = _model.findBody(id);
    if (body != nullptr && body->parentId() == 0) pending.push_back(body);
  }
  for (const std::unique_ptr<BaBody>& body : _model.bodies()) {
    if (body != nullptr && body->id() != 0 && !_checkBody(*body, &names)) return false;
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
  if (!_checkBody(body, &names)) return false;
  _data->addBody(_toMDBody(body));
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
      theExceptObj.setAsWarning("Multiple materials have name \"" + material->name() +
                                "\".  One of them is called \"" + name + "\" now.");
    }
    md_material->setName(name);
    _material_names.emplace(material->id(), name);
    _data->addMaterial(std::move(md_material));
  }
}

void ModelFiller::useModelMaterialNames() {
  for (const std::unique_ptr<BaMaterial>& material : _model.materials()) {
    _material_names.emplace(material->id(), material->name());
  }
}

void ModelFiller::addShape(const BaBody& body, const BaModelData_PolySet* poly_set) {
  BtStr vertices_name;
  if (poly_set != nullptr) {
    vertices_name = _data->addVertexSet(BaToMDVertices(_model, *poly_set))->name();
  }
  const BaMaterialNames material_names = [this](int id) {
    const auto name = _material_names.find(id);
    BtAssert(name != _material_names.end(), "model.materialById(material_id)");
    return name->second;
  };
  _data->addGeometry(BaToMDGeometry(body, poly_set, vertices_name, material_names));
}

bool ModelFiller::addShapes() {
  for (const std::unique_ptr<BaBody>& body : _model.bodies()) {
    if (theExceptObj.checkCancel()) return false;
    if (body == nullptr) continue;
    std::unique_ptr<BaModelData_PolySet> poly_set;
    if (body->hasPolygons()) poly_set = std::make_unique<BaModelData_PolySet>(body.get());
    if (poly_set == nullptr && body->bones().empty()) continue;
    if (body->id() == 0) {
      theExceptObj.setAsWarning(
          "Polygons and bones of the world (body id 0) have no body in a model document.  They are "
          "left out.");
    } else {
      addShape(*body, poly_set.get());
    }
  }
  return true;
}

void ModelFiller::warnOfLeftOut() const {
  if (!_model.flexiblePolygons().empty()) {
    theExceptObj.setAsWarning(
        "%d flexible polygons have no form in a model document.  They are left out.",
        _model.flexiblePolygons().size());
  }
}

}  // namespace

BtStr BaDocumentName(const BaBodyObj& body) {
  if (body.name().length() == 0) return BtFormat("body_%d", body.id());
  const auto is_foreign = [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
  };
  const std::string_view name = body.name().view();
  if (std::none_of(name.begin(), name.end(), is_foreign)) return body.name();
  std::string cleaned(name);
  std::replace_if(cleaned.begin(), cleaned.end(), is_foreign, '_');
  return BtStr(std::string_view(cleaned));
}

bool BaModelData::fillFrom(const BaModel& model, bool merge_vertices) {
  BtAssert(!BtError(), "!BtError()");
  BtAssert(!model.isLoading(), "!model.isLoading()");
  clear();
  const MergeSwitch merge_switch(merge_vertices);
  _combine_vertex_normals = model.combineVertexNormals();
  _length_units = model.lengthUnits();
  _angle_units = model.angleUnits();
  for (const std::unique_ptr<BaMDSliderGroup>& group : model.sliderGroups()) {
    addSliderGroup(std::make_unique<BaMDSliderGroup>(*group));
  }
  ModelFiller filler(model, this);
  if (!filler.addBodies()) return false;
  filler.addMaterials();
  if (!filler.addShapes()) return false;
  filler.warnOfLeftOut();
  _assertGeometryBodies();
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
  filler.useModelMaterialNames();
  std::unique_ptr<BaModelData_PolySet> poly_set;
  if (body->hasPolygons()) poly_set = std::make_unique<BaModelData_PolySet>(body);
  if (poly_set != nullptr || !body->bones().empty()) filler.addShape(*body, poly_set.get());
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
