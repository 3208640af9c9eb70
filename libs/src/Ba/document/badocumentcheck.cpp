// Checks across the sections of a document.
#include "Ba/bamodeldata.h"
#include "Bt/bthash.h"
#include "bablendchecker.h"
#include "bamdsection.h"

namespace {

// Calls `check(blend)` for the blend effects of all vertex sets until one answers false.
template <class Check>
bool CheckBlends(const BtList<BaMDVertices*>& vertex_sets, Check check) {
  for (const BaMDVertices* vertices : vertex_sets) {
    for (const BaMDVertexEffects* effects : vertices->effects()) {
      const BaMDBlendVEffects* blend = effects->asBlend();
      if (blend != nullptr && !check(*blend)) return false;
    }
  }
  return true;
}

bool FailGroup(const BaMDBlendVEffects& blend) {
  return BtFail("A BLEND effect specifies a slider group, \"" + blend.sliderGroup() +
                "\", that does not exist.");
}

}  // namespace

bool BaBlendChecker::check(const BaMDBlendVEffects& blend, const BaMDSliderGroup* group) {
  if (group == nullptr) return FailGroup(blend);
  const auto [entry, is_new] = _sliders_of.try_emplace(group);
  if (is_new) {
    for (const BtStr& slider : group->sliders()) entry->second.insert(slider);
  }
  return entry->second.contains(blend.sliderName()) ||
         BtFail("Invalid slider name '" + blend.sliderName() + "' used in the blend effects.");
}

bool BaModelData::_checkGeometryBodies() const {
  for (const BaMDGeometry* geometry : _geometries) {
    if (bodyByName(geometry->bodyName()) == nullptr) {
      return BtFail("A GEOMETRY section specifies an undefined body name (" +
                    BaShown(geometry->bodyName()) + ").");
    }
  }
  return true;
}

bool BaModelData::_checkBlendGroups() const {
  return CheckBlends(_vertex_sets, [this](const BaMDBlendVEffects& blend) {
    return sliderGroupByName(blend.sliderGroup()) != nullptr || FailGroup(blend);
  });
}

bool BaModelData::_checkBlendEffects() const {
  BaBlendChecker checker;
  return CheckBlends(_vertex_sets, [&](const BaMDBlendVEffects& blend) {
    const BaMDSliderGroup* blend_effects_slider_group = sliderGroupByName(blend.sliderGroup());
    BtAssert(blend_effects_slider_group, "blend_effects_slider_group");
    return checker.check(blend, blend_effects_slider_group);
  });
}

bool BaModelData::_checkVertices() const {
  for (const BaMDGeometry* geometry : _geometries) {
    const BtStr& set_name = geometry->verticesName();
    const BaMDVertices* vertices = set_name.isNull() ? nullptr : vertexSetByName(set_name);
    if (vertices == nullptr && !set_name.isNull()) {
      return BtFail("GEOMETRY for body \"" + geometry->bodyName() +
                    "\" specifies a VERTICES set (" + set_name + ") that does not exist.");
    }
    if (!geometry->checkIndices(vertices)) return false;
  }
  return true;
}
