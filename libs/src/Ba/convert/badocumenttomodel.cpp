// From a document to a model.
#include <algorithm>

#include "Bt/btarena.h"
#include "Bt/bthash.h"
#include "baconvert.h"
#include "badocumenttomodelvertices.h"
#include "bamdsection.h"

namespace {

// Finds ids for bodies that have none of their own: those after all that are given; where there are
// too few of them, the lowest ones that are free.
class FreeIds {
 public:
  explicit FreeIds(const BaModelData& data) : _data(data) {
    long long wanted = 0;
    for (const BaMDBody* body : data.bodies()) {
      if (body->hasId()) _last = std::max<long long>(_last, body->id());
      if (!body->hasId()) ++wanted;
    }
    if (_last + wanted > BaModel::kMaxBodyId) _last = 0;
  }
  long long next() {
    do ++_last;
    while (_last <= BaModel::kMaxBodyId && _data.bodyById(static_cast<int>(_last)) != nullptr);
    return _last;
  }

 private:
  const BaModelData& _data;
  long long _last = 0;
};

int HighestMaterialId(const BaModel& model) {
  int highest = 0;
  for (const std::unique_ptr<BaMaterial>& material : model.materials()) {
    highest = std::max(highest, material->id());
  }
  return highest;
}

// The id of a body's parent, -1 where there is no such body yet.
int ParentId(const BaMDBody& md_body, const BaBodiesByName& bodies) {
  if (md_body.isTopLevel()) return 0;
  const auto parent = bodies.find(md_body.parentName());
  return parent == bodies.end() ? -1 : parent->second->id();
}

std::unique_ptr<BaBody> ToBody(const BaModelData& data, const BaMDBody& md_body, int id,
                               int parent_id) {
  BtCoordSystem coord_system;
  data.getCoordSystem(md_body, &coord_system);
  auto body = std::make_unique<BaBody>();
  body->setName(md_body.name());
  body->setId(id);
  body->setParentId(parent_id);
  body->setTransform(coord_system.matrix());
  return body;
}

bool ExtractBodies(const BaModelData& data, BaModel* model, BaBodiesByName* bodies) {
  FreeIds free_ids(data);
  for (const BaMDBody* md_body : data.bodies()) {
    const long long id = md_body->hasId() ? md_body->id() : free_ids.next();
    if (id < 1 || id > BaModel::kMaxBodyId)
      return BtFail(BtCode("body-id-range"), "Invalid body id %lld.", id);
    const int p_id = ParentId(*md_body, *bodies);
    if (p_id == -1) {
      BtFail(BtCode("parent-missing"), "Body \"" + md_body->name() +
                                           "\" specifies a parent body, \"" +
                                           md_body->parentName() + "\", that does not exist.");
      BtReportError();
    }
    BtAssert(p_id != -1, "p_id!= -1");
    const BaBody* body = model->load(ToBody(data, *md_body, static_cast<int>(id), p_id));
    bodies->try_emplace(body->name(), body);
  }
  return true;
}

// The vertices of a document's sets, each from the first geometry over it to the last.
class VertexSetsInUse {
 public:
  explicit VertexSetsInUse(const BaModelData& data) : _data(data) {
    for (const BaMDGeometry* geometry : data.geometries()) ++_sets[_setOf(*geometry)].n_geometries;
  }
  // Null for a geometry without a vertex set.
  BaSetVertices* of(const BaMDGeometry& geometry) {
    const BaMDVertices* set = _setOf(geometry);
    if (set == nullptr) return nullptr;
    std::unique_ptr<BaSetVertices>& vertices = _sets[set].vertices;
    if (vertices == nullptr) vertices = std::make_unique<BaSetVertices>(*set);
    return vertices.get();
  }
  // To be called when a geometry needs its set no more.
  void leave(const BaMDGeometry& geometry) {
    Use& use = _sets[_setOf(geometry)];
    if (--use.n_geometries == 0) use.vertices.reset();
  }

 private:
  struct Use {
    int n_geometries = 0;
    std::unique_ptr<BaSetVertices> vertices;
  };

  [[nodiscard]] const BaMDVertices* _setOf(const BaMDGeometry& geometry) const {
    const BtStr& name = geometry.verticesName();
    return name.isNull() ? nullptr : _data.vertexSetByName(name);
  }

  const BaModelData& _data;
  BtHashMap<const BaMDVertices*, Use> _sets;
};

// A geometry of a large document leaves a megabyte or two in one piece when it is emptied. What is
// left over there beside blocks of this size is little, whatever its size.
constexpr std::size_t kBlockInPlaceOfGeometries = std::size_t{3} << 18U;

}  // namespace

bool BaModelData::extractTo(BaModel* model) const {
  model->beginLoad();
  if (_extractInto(model) && model->endLoad()) return true;
  model->_clear();
  return false;
}

bool BaModelData::moveTo(BaModel* model) {
  model->beginLoad();
  if (_extractInto(model, true) && model->endLoad()) return true;
  model->_clear();
  return false;
}

bool BaModelData::_extractInto(BaModel* model, bool empty_geometries) const {
  model->setCombineVertexNormals(_combine_vertex_normals);
  model->setLengthUnits(_length_units);
  model->setAngleUnits(_angle_units);
  for (const BaMDSliderGroup* group : _slider_groups) {
    model->load(std::make_unique<BaMDSliderGroup>(*group));
  }
  BaBodiesByName bodies;
  if (!extractMaterialsTo(model, true, false) || !ExtractBodies(*this, model, &bodies) ||
      !_checkVertices()) {
    return false;
  }
  if (empty_geometries) model->arena()->limitBlocks(kBlockInPlaceOfGeometries);
  VertexSetsInUse sets(*this);
  for (BaMDGeometry* geometry : _geometries) {
    if (theExceptObj.checkCancel() ||
        !BaExtractGeometry(*geometry, sets.of(*geometry), bodies, model)) {
      return false;
    }
    sets.leave(*geometry);
    if (empty_geometries) geometry->clear();
  }
  return true;
}

bool BaModelData::extractMaterialsTo(BaModel* model, bool textures, bool skip_known) const {
  int id = HighestMaterialId(*model);
  for (const BaMDMaterial* md_material : _materials) {
    const bool is_known = model->materialByName(md_material->name()) != nullptr;
    if (is_known && skip_known) continue;
    BtAssert(!is_known, "model->materialByName(ba_mat.name())==0");
    std::unique_ptr<BaMaterial> ba_mat = BaToMaterial(*md_material, textures);
    ba_mat->setName(md_material->name());
    ba_mat->setId(++id);
    if (model->isLoading()) {
      model->load(std::move(ba_mat));
    } else {
      model->addMaterial(*ba_mat);
    }
  }
  return true;
}
