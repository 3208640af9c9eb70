#include "badocumenttomodelvertices.h"

#include <numeric>

#include "bamdsection.h"

bool BaSetVertices::begin(const BaBody& body, const BaBodiesByName& bodies) {
  if (_sources.empty()) {
    for (const BaMDVertexEffects* effects : _set.effects()) {
      if (!_addSource(*effects, body, bodies)) return false;
    }
    if (!_sources.empty()) _sort();
  }
  _parent_id = _target_ids.contains(body.parentId()) ? body.parentId() : 0;
  return true;
}

bool BaSetVertices::_addSource(const BaMDVertexEffects& effects, const BaBody& body,
                               const BaBodiesByName& bodies) {
  Source source = {effects.asFlex(), effects.asBlend(), 0};
  if (source.flex != nullptr) {
    const auto target = bodies.find(source.flex->bodyName());
    if (target == bodies.end()) {
      return BtFail(BtCode("flex-target-undefined"), "A flexible vertex effect on body \"" +
                                                         body.name() +
                                                         "\" flexes to a non-existing body \"" +
                                                         BaShown(source.flex->bodyName()) + "\".");
    }
    source.target_id = target->second->id();
    _target_ids.insert(source.target_id);
  }
  _sources.push_back(source);
  return true;
}

template <class Use>
void BaSetVertices::_forEachEntry(Use use) const {
  for (Entry entry = {0, 0}; entry.source < SizeTToInt(_sources.size()); ++entry.source) {
    const Source& source = _sources[static_cast<std::size_t>(entry.source)];
    const int count =
        source.flex != nullptr ? source.flex->weights().size() : source.blend->vectors().size();
    for (entry.place = 0; entry.place < count; ++entry.place) {
      const int vertex = source.flex != nullptr ? source.flex->weights()[entry.place].vertex
                                                : source.blend->vectors()[entry.place].vertex;
      BtAssert(vertex >= 1 && vertex <= _points.size());
      use(static_cast<std::size_t>(vertex - 1), entry);
    }
  }
}

// By counting: entries of one vertex stay in their order.
void BaSetVertices::_sort() {
  const auto n_vertices = static_cast<std::size_t>(_points.size());
  std::vector<std::size_t> ends(n_vertices + 1);
  _forEachEntry([&ends](std::size_t vertex, const Entry&) { ++ends[vertex + 1]; });
  std::partial_sum(ends.begin(), ends.end(), ends.begin());
  _starts = ends;
  _entries.resize(ends.back());
  _forEachEntry(
      [this, &ends](std::size_t vertex, const Entry& entry) { _entries[ends[vertex]++] = entry; });
  _made.resize(n_vertices);
}

void BaSetVertices::_make(std::size_t vertex, Made* made) const {
  made->parent_id = _parent_id;
  made->effects.clear();
  BaVertexEffectsBuilder builder(&made->effects);
  for (std::size_t i = _starts[vertex]; i < _starts[vertex + 1]; ++i) {
    builder.add(_toEffect(_entries[i]));
  }
}

std::unique_ptr<Ba_VertexEffect> BaSetVertices::_toEffect(const Entry& entry) const {
  const Source& source = _sources[static_cast<std::size_t>(entry.source)];
  if (source.flex != nullptr) {
    const float weight = source.flex->weights()[entry.place].weight;
    if (source.target_id == _parent_id) return std::make_unique<BaVertexFlexEffect>(weight);
    return std::make_unique<BaVertexFlex2Effect>(weight, source.target_id);
  }
  const float(&v)[3] = source.blend->vectors()[entry.place].v;
  auto effect = std::make_unique<BaVertexBlendEffect>();
  effect->slider_group = source.blend->sliderGroup();
  effect->slider_name = source.blend->sliderName();
  effect->offset = {v[0], v[1], v[2]};
  return effect;
}
