// Vertex sets from poly sets, and the effects on them.
#include <map>
#include <utility>

#include "baconvert.h"
#include "bamdsection.h"

namespace {

// Sorts the effects on the vertices of a poly set by what they follow, in one pass.
class EffectSorter {
 public:
  explicit EffectSorter(int parent_id) : _parent_id(parent_id) {}

  // `vertex` is 1-based.
  void add(const Ba_VertexEffect& effect, int vertex);
  // Adds the effects to a vertex set: flex effects in model order of their targets, then blends in
  // the order of their first use.
  void addTo(BaMDVertices* vertices, const BaModel& model, const BaBody& body) const;

 private:
  using Weights = std::vector<BaMDFlexVEffects::Weight>;
  struct Blend {
    const BaVertexBlendEffect* first;
    std::vector<BaMDBlendVEffects::Vector> vectors;
  };

  void _addBlend(const BaVertexBlendEffect& blend, int vertex);

  int _parent_id;
  bool _left_out = false;           // bulges and morphs, which a document cannot hold
  std::map<int, Weights> _weights;  // by the id of the target: bodies stand by id in a model
  std::map<std::pair<BtStr, BtStr>, std::size_t> _blend_places;  // by slider group and slider
  std::vector<Blend> _blends;
};

void EffectSorter::add(const Ba_VertexEffect& effect, int vertex) {
  if (effect.type() == BaFlexEffect) {
    const auto& flex = static_cast<const BaVertexFlexEffect&>(effect);
    _weights[_parent_id].push_back({flex.weight, vertex});
  } else if (effect.type() == BaFlex2Effect) {
    const auto& flex2 = static_cast<const BaVertexFlex2Effect&>(effect);
    _weights[flex2.body_id].push_back({flex2.weight, vertex});
  } else if (effect.type() == BaBlendEffect) {
    _addBlend(static_cast<const BaVertexBlendEffect&>(effect), vertex);
  } else {
    _left_out = true;
  }
}

void EffectSorter::_addBlend(const BaVertexBlendEffect& blend, int vertex) {
  const auto [place, is_new] = _blend_places.try_emplace(
      std::make_pair(blend.slider_group, blend.slider_name), _blends.size());
  if (is_new) _blends.push_back({&blend, {}});
  _blends[place->second].vectors.push_back(
      {{blend.offset[0], blend.offset[1], blend.offset[2]}, vertex});
}

void WarnOfTarget(const BaBody& body, int target_id) {
  BtWarn(BtCode("flex-target-missing"),
         "A flexible vertex effect on body \"%s\" flexes to %s (id %d).  It is left out.",
         static_cast<const char*>(BaDocumentName(body)),
         target_id == 0 ? "the world" : "a non-existing body", target_id);
}

void EffectSorter::addTo(BaMDVertices* vertices, const BaModel& model, const BaBody& body) const {
  for (const auto& [target_id, weights] : _weights) {
    const BaBody* target = target_id == 0 ? nullptr : model.findBody(target_id);
    if (target == nullptr) {
      WarnOfTarget(body, target_id);
      continue;
    }
    auto flex = std::make_unique<BaMDFlexVEffects>();
    flex->setBodyName(BaDocumentName(*target));
    flex->setWeights(BaToArray<BaMDFlexVEffects::Weight>(weights));
    vertices->addEffects(std::move(flex));
  }
  for (const Blend& blend : _blends) {
    auto md_blend = std::make_unique<BaMDBlendVEffects>();
    md_blend->setSliderGroup(blend.first->slider_group);
    md_blend->setSliderName(blend.first->slider_name);
    md_blend->setVectors(BaToArray<BaMDBlendVEffects::Vector>(blend.vectors));
    vertices->addEffects(std::move(md_blend));
  }
  if (_left_out) {
    BtWarn(BtCode("left-out"), "Bulge and morph effects on body \"" + BaDocumentName(body) +
                                   "\" have no form in a model document.  They are left out.");
  }
}

}  // namespace

std::unique_ptr<BaMDVertices> BaToMDVertices(const BaModel& model,
                                             const BaModelData_PolySet& poly_set) {
  auto vertices = std::make_unique<BaMDVertices>();
  const BaBody& body = *model.findBody(poly_set.body_id);
  vertices->setName(BaDocumentName(body) + "_vertices");
  vertices->setCoordinates(BaToArray<BaMDPoint>(poly_set.vertices()));
  EffectSorter sorter(poly_set.parent_id);
  for (const BaModelData_PolySet::Effects& effects : poly_set.effects()) {
    const Ba_VertexEffect* effect = effects.effects->first();
    for (; effect != nullptr; effect = effect->next()) sorter.add(*effect, effects.vertex + 1);
  }
  sorter.addTo(vertices.get(), model, body);
  return vertices;
}
