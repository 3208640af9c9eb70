// The check of a whole model, for tests, debug builds and tools that do not trust their input.

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "Ba/bamodel.h"
#include "Bt/bthash.h"
#include "bamodelwalk.h"

// Walks a model until it meets a fault.
class Ba_ModelChecker {
 public:
  explicit Ba_ModelChecker(const BaModel& model) : _model(model) {}
  [[nodiscard]] bool run();
  [[nodiscard]] const BtStr& fault() const { return _fault; }

 private:
  // The elements of one kind on a body.
  template <class T>
  using OfBody = const BaElements<T*>& (BaBody::*)() const;

  bool _fail(const BtStr& fault) {
    _fault = fault;
    return false;
  }
  [[nodiscard]] bool _checkTable();
  [[nodiscard]] bool _checkBody(const BaBody& body);
  [[nodiscard]] bool _checkLinks();
  [[nodiscard]] bool _checkChildren(const BaBody& body);
  [[nodiscard]] bool _checkBodyNames();
  [[nodiscard]] bool _checkMaterials();
  [[nodiscard]] bool _checkSliderGroups();
  [[nodiscard]] bool _checkElements();
  template <class T>
  [[nodiscard]] bool _checkCollection(const BaModel::Elements<T>& elements, OfBody<T> of_body,
                                      const char* kind);
  [[nodiscard]] bool _checkReferences(const BaElement& element, const char* kind);
  template <class T>
  [[nodiscard]] bool _checkContent(const T& element, const char* kind);
  [[nodiscard]] bool _checkVertices(const BaVertexElement& element, const char* kind);
  [[nodiscard]] bool _checkFlexTargets();
  [[nodiscard]] bool _checkBlends();

  const BaModel& _model;
  BtStr _fault;
};

namespace {

// True when the arrays parallel to the vertices are as long as they are. The overload that fits an
// element best is the one that counts.
bool IsParallel(const BaElement& /*element*/) { return true; }
bool IsParallel(const BaTexturedPolygon& polygon) {
  return polygon.textureCoords().size() == polygon.numVertices();
}
bool IsParallel(const BaFlexiblePolygon& polygon) {
  return polygon.modes().size() == polygon.numVertices();
}
bool IsParallel(const BaTMesh& mesh) { return mesh.swapFlags().size() == mesh.numVertices(); }
bool IsParallel(const BaTexturedTMesh& mesh) {
  return IsParallel(static_cast<const BaTMesh&>(mesh)) &&
         mesh.textureCoords().size() == mesh.numVertices();
}

// True when a polygon has two neighbours at one place, which no reader lets pass.
bool RepeatsVertex(const BaElement& /*element*/) { return false; }
bool RepeatsVertex(const BaPolygon& polygon) { return polygon.repeatsVertex(); }

// The bodies that the flex2 effects of a vertex follow, in order, and how many flex effects it has.
struct FlexTargets {
  std::vector<int> body_ids;
  int n_flex = 0;
};

FlexTargets FlexTargetsOf(const BaVertex& vertex) {
  FlexTargets targets;
  for (auto* effect = vertex.effects().first(); effect != nullptr; effect = effect->next()) {
    if (effect->type() == BaFlexEffect) ++targets.n_flex;
    if (effect->type() == BaFlex2Effect) {
      targets.body_ids.push_back(static_cast<const BaVertexFlex2Effect*>(effect)->body_id);
    }
  }
  std::sort(targets.body_ids.begin(), targets.body_ids.end());
  return targets;
}

// Calls visit(effect) for the blend effects of an element's vertices.
template <class Visit>
void ForEachBlend(const BaVertexElement& element, Visit visit) {
  for (const BaVertex& vertex : element.vertices()) {
    for (auto* effect = vertex.effects().first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() == BaBlendEffect) visit(static_cast<const BaVertexBlendEffect&>(*effect));
    }
  }
}

}  // namespace

bool Ba_ModelChecker::run() {
  if (!_model.isValid()) return _fail("The model was destroyed.");
  return _checkTable() && _checkLinks() && _checkBodyNames() && _checkMaterials() &&
         _checkSliderGroups() && _checkElements() && _checkFlexTargets() && _checkBlends();
}

bool Ba_ModelChecker::_checkTable() {
  const auto& bodies = _model.bodies();
  int n_bodies = 0;
  for (int slot = 0; slot < bodies.size(); ++slot) {
    if (bodies[slot] == nullptr) continue;
    ++n_bodies;
    if (!bodies[slot]->isValid()) return _fail(BtFormat("Body %d is destroyed.", slot));
    if (bodies[slot]->id() == slot) continue;
    return _fail(BtFormat("Body %d stands in slot %d.", bodies[slot]->id(), slot));
  }
  if (n_bodies > 0 && _model.findBody(0) == nullptr) return _fail("There is no reference body.");
  return n_bodies == _model._n_bodies ||
         _fail(BtFormat("%d bodies are counted as %d.", n_bodies, _model._n_bodies));
}

// Every body but the reference body is a child once, of the parent that it names, and hangs under
// the reference body in the end.
bool Ba_ModelChecker::_checkLinks() {
  const BaBody* const reference = _model.findBody(0);
  if (reference == nullptr) return true;
  if (reference->parentId() != -1 || reference->parent() != nullptr) {
    return _fail("The reference body has a parent.");
  }
  int n_reached = 0;
  std::vector<const BaBody*> waiting = {reference};
  while (!waiting.empty()) {
    const BaBody* const body = waiting.back();
    waiting.pop_back();
    // More than there are: somebody is a child of two, or its own ancestor.
    if (++n_reached > _model._n_bodies) return _fail("A body is a child more than once.");
    if (!_checkChildren(*body)) return false;
    for (int i = 0; i < body->numChildren(); ++i) waiting.push_back(body->child(i));
  }
  return n_reached == _model._n_bodies ||
         _fail(BtFormat("%d of %d bodies hang under the reference body.", n_reached,
                        _model._n_bodies));
}

bool Ba_ModelChecker::_checkChildren(const BaBody& body) {
  int last_id = 0;
  for (int i = 0; i < body.numChildren(); ++i) {
    const BaBody* const child = body.child(i);
    const int id = child->id();
    if (_model.findBody(id) != child || child->parent() != &body ||
        child->parentId() != body.id()) {
      return _fail(BtFormat("Body %d is listed as a child of body %d but is none.", id, body.id()));
    }
    if (id <= last_id) {
      return _fail(BtFormat("The children of body %d are not in the order of ids.", body.id()));
    }
    last_id = id;
  }
  return true;
}

bool Ba_ModelChecker::_checkBodyNames() {
  std::size_t n_found = 0;
  for (const auto& body : _model.bodies()) {
    if (body == nullptr) continue;
    const BaBody* const found = _model.findBody(body->name());
    // Bodies are met by ascending ids, so the first of a name must be the one that is found.
    if (found == nullptr || found->name() != body->name() || found->id() > body->id()) {
      return _fail(BtFormat("Body %d is not found by its name.", body->id()));
    }
    if (found == body.get()) ++n_found;
  }
  return n_found == _model._bodies_by_name.size() || _fail("A name finds a body that has another.");
}

bool Ba_ModelChecker::_checkMaterials() {
  BtHashSet<BtStr> names;
  for (const auto& material : _model.materials()) {
    if (_model.materialById(material->id()) != material.get()) {
      return _fail(BtFormat("Material %d is not found by its id.", material->id()));
    }
    if (!names.insert(material->name()).second) continue;
    if (material->name().isNull() || _model.materialByName(material->name()) != material.get()) {
      return _fail(BtFormat("Material %d is not found by its name.", material->id()));
    }
  }
  const auto n_materials = static_cast<std::size_t>(_model.materials().count());
  return (_model._materials_by_id.size() == n_materials &&
          _model._materials_by_name.size() == names.size()) ||
         _fail("A material is found that is none of the model's.");
}

bool Ba_ModelChecker::_checkSliderGroups() {
  BtHashSet<BtStr> names;
  for (const auto& group : _model.sliderGroups()) {
    if (!names.insert(group->name()).second) continue;
    if (_model.findSliderGroup(group->name()) != group.get()) {
      return _fail("A slider group is not found by its name.");
    }
  }
  return _model._slider_groups_by_name.size() == names.size() ||
         _fail("A slider group is found that is none of the model's.");
}

bool Ba_ModelChecker::_checkElements() {
  return _checkCollection(_model.bones(), &BaBody::bones, "bone") &&
         _checkCollection(_model.polygons(), &BaBody::polygons, "polygon") &&
         _checkCollection(_model.texturedPolygons(), &BaBody::texturedPolygons,
                          "textured polygon") &&
         _checkCollection(_model.flexiblePolygons(), &BaBody::flexiblePolygons,
                          "flexible polygon") &&
         _checkCollection(_model.tMeshes(), &BaBody::tMeshes, "triangle mesh") &&
         _checkCollection(_model.texturedTMeshes(), &BaBody::texturedTMeshes,
                          "textured triangle mesh");
}

// The lists of the bodies hold what the model's collection holds, in the same order.
template <class T>
bool Ba_ModelChecker::_checkCollection(const BaModel::Elements<T>& elements, OfBody<T> of_body,
                                       const char* kind) {
  BtDArray<int> n_met;  // by body id
  n_met.resizeSparsely(_model.bodies().size());
  for (const auto& element : elements) {
    if (!_checkReferences(*element, kind)) return false;
    const int body_id = element->bodyId();
    const BaElements<T*>& listed = (_model.findBody(body_id)->*of_body)();
    const int place = n_met[body_id]++;
    if (place >= listed.size() || listed[place] != element.get()) {
      return _fail(BtFormat("A %s is not in its place on body %d.", kind, body_id));
    }
    if (!_checkContent(*element, kind)) return false;
  }
  for (const auto& body : _model.bodies()) {
    if (body == nullptr) continue;
    if (((*body).*of_body)().size() != n_met[body->id()]) {
      return _fail(BtFormat("Body %d lists a %s that is not the model's.", body->id(), kind));
    }
  }
  return true;
}

bool Ba_ModelChecker::_checkReferences(const BaElement& element, const char* kind) {
  if (!element.isValid()) return _fail(BtFormat("A %s is destroyed.", kind));
  if (_model.findBody(element.bodyId()) == nullptr) {
    return _fail(BtFormat("A %s is on body %d, which does not exist.", kind, element.bodyId()));
  }
  return _model.materialById(element.materialId()) != nullptr ||
         _fail(
             BtFormat("A %s uses material %d, which does not exist.", kind, element.materialId()));
}

template <class T>
bool Ba_ModelChecker::_checkContent(const T& element, const char* kind) {
  if (!IsParallel(element)) return _fail(BtFormat("A %s lacks values of vertices.", kind));
  if (RepeatsVertex(element)) {
    return _fail(BtFormat("A %s on body %d repeats a vertex.", kind, element.bodyId()));
  }
  if constexpr (requires { element.vertices(); }) return _checkVertices(element, kind);
  return true;
}

bool Ba_ModelChecker::_checkVertices(const BaVertexElement& element, const char* kind) {
  for (const BaVertex& vertex : element.vertices()) {
    if (vertex.effects().empty()) continue;
    const FlexTargets targets = FlexTargetsOf(vertex);
    const auto& ids = targets.body_ids;
    if (targets.n_flex > 1 || std::adjacent_find(ids.begin(), ids.end()) != ids.end()) {
      return _fail(
          BtFormat("A vertex of a %s on body %d follows one body twice.", kind, element.bodyId()));
    }
  }
  return true;
}

// Files may let textured polygons and meshes follow bodies that do not exist, but not polygons.
bool Ba_ModelChecker::_checkFlexTargets() {
  for (const auto& polygon : _model.polygons()) {
    for (const BaVertex& vertex : std::as_const(*polygon).vertices()) {
      if (vertex.effects().empty()) continue;
      for (const int id : FlexTargetsOf(vertex).body_ids) {
        if (_model.findBody(id) != nullptr) continue;
        return _fail(
            BtFormat("A vertex of a polygon on body %d follows body %d, which does not exist.",
                     polygon->bodyId(), id));
      }
    }
  }
  return true;
}

bool Ba_ModelChecker::_checkBlends() {
  BtHashMap<const BaMDSliderGroup*, BtHashSet<BtStr>> sliders_of;
  for (const auto& group : _model.sliderGroups()) {
    sliders_of[group.get()].insert(group->sliders().begin(), group->sliders().end());
  }
  const auto exists = [&](const BaVertexBlendEffect& blend) {
    const auto sliders = sliders_of.find(_model.findSliderGroup(blend.slider_group));
    return sliders != sliders_of.end() && sliders->second.contains(blend.slider_name);
  };
  const BaVertexBlendEffect* lost = nullptr;
  Ba_ForEachVertexElement(_model, [&](const BaVertexElement& element) {
    ForEachBlend(element, [&](const BaVertexBlendEffect& blend) {
      if (!exists(blend)) lost = &blend;
    });
  });
  return lost == nullptr ||
         _fail("A vertex is moved by slider \"" + lost->slider_name + "\" of group \"" +
               lost->slider_group + "\", which does not exist.");
}

bool BaModel::checkInvariants(BtStr* fault) const {
  Ba_ModelChecker checker(*this);
  if (checker.run()) return true;
  if (fault != nullptr) *fault = checker.fault();
  return false;
}
