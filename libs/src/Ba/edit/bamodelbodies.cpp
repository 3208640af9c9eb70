// The edits that rename and renumber, and those that take bodies away.

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>
#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "baeffectsedit.h"
#include "bamodelwalk.h"

namespace {

int& FollowedBodyId(Ba_VertexEffect* flex2) {
  return static_cast<BaVertexFlex2Effect*>(flex2)->body_id;
}

bool Follows(const Ba_VertexEffect& effect, int body_id) {
  return effect.type() == BaFlex2Effect &&
         static_cast<const BaVertexFlex2Effect&>(effect).body_id == body_id;
}

// Calls `edit(effects, body_id)` for the vertices that have effects, with the id of their body; see
// Ba_EffectsEdit.
template <class Owner, class Edit>
void EditEffects(const Owner& owner, Edit edit) {
  Ba_EffectsEdit<Edit> edit_one(std::move(edit));
  Ba_ForEachVertexElement(owner, [&edit_one](auto& element) {
    for (BaVertex& vertex : element.vertices()) {
      if (!vertex.effects().empty()) edit_one(vertex.effects(), element.bodyId());
    }
  });
}

// The transform of a child against the parent of its parent.
Bt4X4FloatMat TransformWithout(const BaBody& parent, const BaBodyObj& child) {
  return child.transform() * parent.transform();
}

bool IsFinite(const Bt4X4FloatMat& matrix) {
  for (int i = 0; i < 16; ++i) {
    if (!std::isfinite(matrix(i / 4, i % 4))) return false;
  }
  return true;
}

// False after a recorded error: without the body, a child would stand where no float reaches.
bool CheckPlacesWithout(const BaBody& body) {
  for (int i = 0; i < body.numChildren(); ++i) {
    const BaBody* const child = body.child(i);
    if (IsFinite(TransformWithout(body, *child))) continue;
    return BtFail("Body \"%s\" cannot be removed: the transform of \"%s\" would not be finite.",
                  static_cast<const char*>(body.name()), static_cast<const char*>(child->name()));
  }
  return true;
}

// Takes a body out of the muscles that run over it.
void RemoveFromMuscles(BtList<std::unique_ptr<BaMuscle>>* muscles, int body_id) {
  BtList<std::unique_ptr<BaMuscle>> kept;
  for (std::unique_ptr<BaMuscle>& muscle : *muscles) {
    BtDArray<int>& ids = muscle->bodyIds();
    const int n_before = ids.size();
    ids.resize(static_cast<int>(std::remove(ids.begin(), ids.end(), body_id) - ids.begin()));
    if (n_before == 0 || !ids.empty()) kept.append(std::move(muscle));
  }
  *muscles = std::move(kept);
}

// A renumbering with the ids that it takes led back to those that it frees: what refers to a body
// that does not exist must not find one afterwards.
BtHashMap<int, int> Permutation(const BtMap<int, int>& new_ids) {
  BtHashMap<int, int> permutation;
  std::set<int> freed;
  std::set<int> taken;
  for (const auto& [old_id, new_id] : new_ids) {
    permutation.emplace(old_id, new_id);
    freed.insert(old_id);
    taken.insert(new_id);
  }
  auto next_freed = freed.begin();
  for (const int id : taken) {
    if (freed.contains(id)) continue;
    while (taken.contains(*next_freed)) ++next_freed;
    permutation.emplace(id, *next_freed++);
  }
  return permutation;
}

}  // namespace

void BaModel::changeBodyId(BaBody* body, int new_id) {
  _assertEditable();
  BtAssert(body != nullptr, "body");
  BtAssert(new_id > 0, "new_id>0");
  BtAssert(body->id() != new_id, "body->id()!=new_id");
  BtAssert(findBody(new_id) == nullptr, "!findBody(new_id)");
  BtAssert(body->id() > 0, "body->id()>0");
  BtAssert(findBody(body->id()) == body, "_bodies[body->id()]==body");
  changeBodyIds({{body->id(), new_id}});
}

void BaModel::changeBodyId(int old_id, int new_id) {
  BtAssert(new_id >= 0, "new_id>=0");
  BaBody* const body = findBody(old_id);
  BtAssert(body != nullptr, "body");
  changeBodyId(body, new_id);
}

void BaModel::renameBody(BaBody* body, const BtStr& name) {
  _assertEditable();
  BtAssert(body != nullptr, "body");
  BtAssert(body->id() > 0, "body->id()>0");
  BtAssert(findBody(body->id()) == body, "_bodies[body->id()]==body");
  BtAssert(!name.isNull(), "!name.isNull()");
  if (name == body->name()) return;
  BtAssert(findBody(name) == nullptr, "!findBody(name)");
  const BtStr old_name = body->name();
  body->_name.change(name);
  _unindexBody(body, old_name);
  _indexBody(body);
}

void BaModel::renameSliderGroup(BaMDSliderGroup* group, const BtStr& name) {
  _assertEditable();
  BtAssert(group != nullptr, "group");
  const BtStr old_name = group->name();
  BtAssert(findSliderGroup(old_name) == group, "findSliderGroup(group->name())==group");
  BtAssert(!name.isNull(), "!name.isNull()");
  if (name == old_name) return;
  BtAssert(findSliderGroup(name) == nullptr, "findSliderGroup(name)==0");
  group->_name.change(name);
  _slider_groups_by_name.clear();
  for (const auto& any : _slider_groups) {
    _slider_groups_by_name.try_emplace(any->name(), any.get());
  }
  EditEffects(*this, [&old_name, &name](BaVertexEffects& effects, int /*body_id*/) {
    for (auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() != BaBlendEffect) continue;
      BtStr& slider_group = static_cast<BaVertexBlendEffect*>(effect)->slider_group;
      if (slider_group == old_name) slider_group = name;
    }
  });
}

void BaModel::swapBodyIds(int id1, int id2) {
  _assertEditable();
  BtAssert(findBody(id1) != nullptr, "findBody(id1)");
  BtAssert(findBody(id2) != nullptr, "findBody(id2)");
  BtAssert(id1 > 0 && id2 > 0);
  if (id1 != id2) changeBodyIds({{id1, id2}, {id2, id1}});
}

void BaModel::changeBodyIds(const BtMap<int, int>& new_ids) {
  _assertEditable();
  for (const auto& [old_id, new_id] : new_ids) {
    BtAssert(old_id > 0);
    BtAssert(findBody(old_id) != nullptr, "findBody(old_id)");
    BtAssert(new_id > 0, "new_id>0");
    BtAssert(new_id <= kMaxBodyId);
    _growBodyTable(new_id);
  }
  _moveBodies(new_ids);
  _bodies_by_name.clear();
  _n_bodies = 0;
  for (const auto& body : _bodies) {
    if (body != nullptr) _indexBody(body.get());
  }
  _renumberBodyReferences(Permutation(new_ids));
}

void BaModel::_moveBodies(const BtMap<int, int>& new_ids) {
  std::vector<std::pair<std::unique_ptr<BaBody>, int>> moved;  // with their new ids
  std::vector<BaBody*> parents;
  for (const auto& [old_id, new_id] : new_ids) {
    parents.push_back(_bodies[old_id]->parent());
    moved.emplace_back(std::move(_bodies[old_id]), new_id);
  }
  for (auto& [body, new_id] : moved) {
    BtAssert(findBody(new_id) == nullptr, "!findBody(new_id)");
    body->_id.change(new_id);
    for (int i = 0; i < body->numChildren(); ++i) body->child(i)->setParentId(new_id);
    Ba_ForEachElement(*body, [id = new_id](BaElement& element) { element.setBodyId(id); });
    _bodies[new_id] = std::move(body);
  }
  std::sort(parents.begin(), parents.end());
  parents.erase(std::unique(parents.begin(), parents.end()), parents.end());
  for (BaBody* const parent : parents) parent->sortChildren();
}

void BaModel::_renumberBodyReferences(const BtHashMap<int, int>& new_ids) {
  const auto renumbered = [&new_ids](int id) {
    const auto entry = new_ids.find(id);
    return entry == new_ids.end() ? id : entry->second;
  };
  EditEffects(*this, [&renumbered](BaVertexEffects& effects, int /*body_id*/) {
    for (auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() != BaFlex2Effect) continue;
      FollowedBodyId(effect) = renumbered(FollowedBodyId(effect));
    }
  });
  for (const auto& polygon : _flexible_polygons) {
    polygon->setOtherBodyId(renumbered(polygon->otherBodyId()));
  }
  for (const auto& muscle : _muscles) {
    BtDArray<int>& ids = muscle->bodyIds();
    std::transform(ids.begin(), ids.end(), ids.begin(), renumbered);
  }
}

bool BaModel::removeBody(BaBody* body) {
  _assertEditable();
  BtAssert(body != nullptr, "body");
  const int body_id = body->id();
  BtAssert(body_id > 0, "body_id>0");
  BtAssert(findBody(body_id) == body, "_bodies[body_id]==body");
  if (!CheckPlacesWithout(*body)) return false;
  _removeElementsOf(body);
  _removeReferencesTo(*body);
  _moveChildrenUp(body);
  const std::unique_ptr<BaBody> removed = std::move(_bodies[body_id]);
  _unindexBody(removed.get(), removed->name());
  return true;
}

void BaModel::_removeElementsOf(BaBody* body) {
  const int id = body->id();
  const auto is_gone = [id](const BaElement& element) { return element.bodyId() == id; };
  const auto remove_from = [&is_gone](auto* elements, const auto& of_body) {
    if (!of_body.empty()) elements->removeIf(is_gone);
  };
  remove_from(&_bones, body->bones());
  remove_from(&_polygons, body->polygons());
  remove_from(&_textured_polygons, body->texturedPolygons());
  remove_from(&_t_meshes, body->tMeshes());
  remove_from(&_textured_t_meshes, body->texturedTMeshes());

  const auto reaches_it = [id](const BaFlexiblePolygon& polygon) {
    return polygon.bodyId() == id || polygon.otherBodyId() == id;
  };
  std::vector<int> owners;
  for (const auto& polygon : _flexible_polygons) {
    if (reaches_it(*polygon)) owners.push_back(polygon->bodyId());
  }
  std::sort(owners.begin(), owners.end());
  owners.erase(std::unique(owners.begin(), owners.end()), owners.end());
  for (const int owner : owners) _bodies[owner]->removeFlexiblePolygons(reaches_it);
  if (!owners.empty()) _flexible_polygons.removeIf(reaches_it);
}

void BaModel::_removeReferencesTo(const BaBody& body) {
  const int id = body.id();
  const int heir = body.parentId();  // 0 for the world, which nothing can follow
  EditEffects(*this, [id, heir](BaVertexEffects& effects, int body_id) {
    if (heir != 0 && heir != body_id) {
      effects.changeFlex2BodyId(id, heir);
    } else {
      effects.removeIf([id](const Ba_VertexEffect& effect) { return Follows(effect, id); });
    }
  });
  if (heir == 0) {
    for (int i = 0; i < body.numChildren(); ++i) {
      EditEffects(*body.child(i), [](BaVertexEffects& effects, int /*body_id*/) {
        effects.removeIf(
            [](const Ba_VertexEffect& effect) { return effect.type() == BaFlexEffect; });
      });
    }
  }
  RemoveFromMuscles(&_muscles, id);
}

void BaModel::_moveChildrenUp(BaBody* body) {
  BaBody* const parent = body->parent();
  std::vector<BaBodyObj*> children;
  for (int i = 0; i < body->numChildren(); ++i) {
    BaBody* const child = body->child(i);
    child->setTransform(TransformWithout(*body, *child));
    child->setParentId(parent->id());
    child->setParent(parent);
    children.push_back(child);
  }
  body->clearChildren();
  parent->removeChild(body);
  parent->insertChildren(children);
}
