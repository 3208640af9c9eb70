// The questions that walk a whole model, and the edits built on them.

#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "Bt/btset.h"
#include "bamodelwalk.h"

void BaModel::getBodyNames(BtSet<BtStr>* names) const {
  for (int id = 1; id < _bodies.size(); ++id) {
    if (_bodies[id] != nullptr) names->insert(_bodies[id]->name());
  }
}

void BaModel::getEndBodies(BtList<BaBody*>* bodies) const {
  std::vector<BaBody*> waiting;
  if (!_bodies.empty()) waiting.push_back(_bodies[0].get());
  while (!waiting.empty()) {
    BaBody* const body = waiting.back();
    waiting.pop_back();
    if (body->numChildren() == 0 && body->id() != 0) bodies->append(body);
    for (int i = body->numChildren() - 1; i >= 0; --i) waiting.push_back(body->child(i));
  }
}

void BaModel::getUsedMaterials(BtList<BaMaterial*>* materials, int body_id) const {
  const BaBody* const body = findBody(body_id);
  BtAssert(body != nullptr, "body");
  BtHashSet<int> seen;
  Ba_ForEachCollection(*body, [&](const auto& elements) {
    for (const auto& element : elements) {
      if (!seen.insert(element->materialId()).second) continue;
      BaMaterial* const material = materialById(element->materialId());
      if (material != nullptr) materials->append(material);
    }
  });
}

void BaModel::getTextureFileNames(BtList<BtStr>* names) const {
  for (const auto& material : _materials) {
    for (const BaTexture& texture : material->textures()) {
      if (texture.type() == BaTexture::FileName && !texture.fileName().isNull()) {
        names->append(texture.fileName());
      }
    }
  }
}

void BaModel::getVertices(BtDArray<BaVertex*>* vertices) const {
  long long n_vertices = vertices->size();
  Ba_ForEachVertexElement(*this, [&](const auto& element) { n_vertices += element.numVertices(); });
  int filled = vertices->size();
  vertices->resize(SizeTToInt(static_cast<std::size_t>(n_vertices)));
  Ba_ForEachVertexElement(*this, [&](auto& element) {
    for (BaVertex& vertex : element.vertices()) (*vertices)[filled++] = &vertex;
  });
  BtAssert(filled == vertices->size());
}

void BaModel::removeBones() {
  _assertEditable();
  for (const auto& body : _bodies) {
    if (body != nullptr) body->removeBones();
  }
  _bones.clear();
}

void BaModel::removePolygons() {
  _assertEditable();
  for (const auto& body : _bodies) {
    if (body != nullptr) body->removePolygons();
  }
  _polygons.clear();
  _textured_polygons.clear();
  _t_meshes.clear();
  _textured_t_meshes.clear();
  if (_flexible_polygons.empty()) _arena.clear();
}

void GetUsedAndUnusedMaterials(const BaModel& model, BtList<BaMaterial*>* used,
                               BtList<BaMaterial*>* unused) {
  BtHashSet<int> used_ids;
  int last_id = -1;
  Ba_ForEachMaterialUser(model, [&](const auto& user) {
    if (user.materialId() == last_id && !used_ids.empty()) return;
    last_id = user.materialId();
    used_ids.insert(last_id);
  });
  for (const auto& material : model.materials()) {
    (used_ids.contains(material->id()) ? used : unused)->append(material.get());
  }
}

void BaModel::removeUnusedMaterials(bool renumber) {
  _assertEditable();
  BtList<BaMaterial*> used;
  BtList<BaMaterial*> unused;
  GetUsedAndUnusedMaterials(*this, &used, &unused);
  if (!unused.empty()) {
    // Both lists are in the order of the whole, so the unused ones are met one after another.
    auto next_unused = unused.begin();
    BtList<std::unique_ptr<BaMaterial>> kept;
    for (auto& material : _materials) {
      if (next_unused != unused.end() && *next_unused == material.get()) {
        ++next_unused;
      } else {
        kept.append(std::move(material));
      }
    }
    _materials = std::move(kept);
  }
  if (renumber) _renumberMaterials();
  _last_material = nullptr;
  _indexMaterials();
}

void BaModel::_renumberMaterials() {
  BtAssert(_flexible_polygons.empty(), "_flexible_polygons.size()==0");
  BtHashSet<int> taken;
  for (const auto& material : _materials) taken.insert(material->id());
  BtHashMap<int, int> new_ids;
  int counter = 1;
  for (const auto& material : _materials) {
    const int old_id = material->id();
    // An id that another material has would make one material of the two.
    if (old_id > counter && taken.insert(counter).second) {
      taken.erase(old_id);
      new_ids[old_id] = counter;
      material->_id.change(counter);
    }
    ++counter;
  }
  _changeMaterialIds(new_ids);
}

void BaModel::_changeMaterialIds(const BtHashMap<int, int>& new_ids) {
  Ba_ForEachMaterialUser(*this, [&](auto& user) {
    const auto entry = new_ids.find(user.materialId());
    if (entry != new_ids.end()) user.setMaterialId(entry->second);
  });
}

void BaModel::renameMaterial(BaMaterial* material, const BtStr& name) {
  _assertEditable();
  BtAssert(material != nullptr, "material");
  BtAssert(materialById(material->id()) == material, "materialById(material->id())==material");
  BtAssert(!name.isNull(), "!name.isNull()");
  if (name == material->name()) return;
  BtAssert(materialByName(name) == nullptr, "materialByName(name)==0");
  material->_name.change(name);
  _indexMaterials();
}

void BaModel::changeMaterialId(BaMaterial* material, int new_id) {
  _assertEditable();
  BtAssert(material != nullptr, "material");
  const int old_id = material->id();
  BtAssert(materialById(old_id) == material, "materialById(material->id())==material");
  if (new_id == old_id) return;
  BtAssert(materialById(new_id) == nullptr, "materialById(new_id)==0");
  material->_id.change(new_id);
  _changeMaterialIds({{old_id, new_id}});
  _indexMaterials();
}

void Ba_WarnOfPostScale(const BaModel& model, const BaBody* only) {
  constexpr int kMostNamed = 10;
  BtStr names;
  int count = 0;
  for (const auto& body : model.bodies()) {
    if (body == nullptr || body->id() == 0 || body->postScaleFactor() == 1.0F) continue;
    if (only != nullptr && body.get() != only) continue;
    if (++count <= kMostNamed) names += (count > 1 ? ", \"" : "\"") + body->name() + "\"";
  }
  if (count == 0) return;
  if (count > kMostNamed) names += BtFormat(" and %d others", count - kMostNamed);
  BtWarn(BtCode("left-out"),
         "Post scale factors have no form in a file.  Those of " + names + " are left out.");
}
