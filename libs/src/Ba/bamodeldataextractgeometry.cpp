// The geometries of a document as polygons, meshes and bones of a model.
#include <algorithm>

#include "bamdsection.h"
#include "bamodelconvert.h"

namespace {

constexpr int kFewestCorners = 3;

// Bad files warn once for each corner: the records share one text.
const BtStr& DuplicateWarning() {
  static const BtStr warning("Duplicate vertex coordinates in polygon removed.");
  return warning;
}
// The two kinds of polygon differ in a full stop.
const BtStr& DegenerateWarning(bool textured) {
  static const BtStr plain_warning("Degenerate polygon removed");
  static const BtStr textured_warning("Degenerate polygon removed.");
  return textured ? textured_warning : plain_warning;
}

// Makes the model's vertices of a vertex set, effects included.
class VertexMaker {
 public:
  VertexMaker(const BaBody& body, const BaBodiesByName& bodies) : _body(body), _bodies(bodies) {}

  // False after a recorded error.
  bool make(const BaMDVertices& md_vertices, std::vector<BaVertex>* vertices);

 private:
  // An entry of effects: what it is and which vertex it is for, from 0.
  struct Entry {
    const BaMDVertexEffects* effects;
    int place;
    int vertex;
  };

  bool _addFlexEntries(const BaMDFlexVEffects& flex);
  void _addBlendEntries(const BaMDBlendVEffects& blend);
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> _toEffect(const Entry& entry) const;

  const BaBody& _body;
  const BaBodiesByName& _bodies;
  std::vector<Entry> _entries;
  std::unordered_map<const BaMDVertexEffects*, int> _targets;  // ids of the bodies of flex effects
};

bool VertexMaker::_addFlexEntries(const BaMDFlexVEffects& flex) {
  const auto target = _bodies.find(flex.bodyName());
  if (target == _bodies.end()) {
    return BaFail("A flexible vertex effect on body \"" + _body.name() +
                  "\" flexes to a non-existing body \"" + BaShown(flex.bodyName()) + "\".");
  }
  _targets.emplace(&flex, target->second->id());
  for (int i = 0; i < flex.weights().size(); ++i) {
    _entries.push_back({&flex, i, flex.weights()[i].vertex - 1});
  }
  return true;
}

void VertexMaker::_addBlendEntries(const BaMDBlendVEffects& blend) {
  for (int i = 0; i < blend.vectors().size(); ++i) {
    _entries.push_back({&blend, i, blend.vectors()[i].vertex - 1});
  }
}

std::unique_ptr<Ba_VertexEffect> VertexMaker::_toEffect(const Entry& entry) const {
  if (const BaMDFlexVEffects* flex = entry.effects->asFlex(); flex != nullptr) {
    const float weight = flex->weights()[entry.place].weight;
    const int target = _targets.at(flex);
    if (target == _body.parentId()) return std::make_unique<BaVertexFlexEffect>(weight);
    return std::make_unique<BaVertexFlex2Effect>(weight, target);
  }
  const BaMDBlendVEffects& blend = *entry.effects->asBlend();
  const float(&v)[3] = blend.vectors()[entry.place].v;
  auto effect = std::make_unique<BaVertexBlendEffect>();
  effect->slider_group = blend.sliderGroup();
  effect->slider_name = blend.sliderName();
  effect->offset = {v[0], v[1], v[2]};
  return effect;
}

bool VertexMaker::make(const BaMDVertices& md_vertices, std::vector<BaVertex>* vertices) {
  for (const BaMDPoint& point : md_vertices.coordinates()) {
    vertices->emplace_back(point.x, point.y, point.z);
  }
  for (const BaMDVertexEffects* effects : md_vertices.effects()) {
    if (effects->asBlend() != nullptr) {
      _addBlendEntries(*effects->asBlend());
    } else if (!_addFlexEntries(*effects->asFlex())) {
      return false;
    }
  }
  std::stable_sort(_entries.begin(), _entries.end(),
                   [](const Entry& a, const Entry& b) { return a.vertex < b.vertex; });
  for (std::size_t i = 0; i < _entries.size();) {
    const int vertex = _entries[i].vertex;
    BtAssert(vertex >= 0 && vertex < md_vertices.coordinates().size());
    BaVertexEffectsBuilder builder(&(*vertices)[static_cast<std::size_t>(vertex)].effects());
    for (; i < _entries.size() && _entries[i].vertex == vertex; ++i) {
      builder.add(_toEffect(_entries[i]));
    }
  }
  return true;
}

// Adds one geometry to a model.
class GeometryExtractor {
 public:
  GeometryExtractor(const BaBody& body, const BaMDGeometry& geometry, BaModel* model)
      : _body(body), _geometry(geometry), _model(model) {}

  // `vertices` is null for a geometry without a vertex set. False after a recorded error.
  bool extract(const BaMDVertices* vertices, const BaBodiesByName& bodies);

 private:
  bool _extractGroup(const BaMDMaterialGroup& group);
  void _addPolygon(int material_id, std::span<const int> corners);
  void _addTexturedPolygon(int material_id, std::span<const BaMDTexturedCorner> corners);
  [[nodiscard]] BtDArray<BaVertex> _copyVertices(std::span<const int> corners) const;
  // Splits corners into vertices and texture coordinates.
  void _copyCorners(std::span<const BaMDTexturedCorner> corners, BtDArray<BaVertex>* vertices,
                    BtDArray<BaTextureCoords>* coords) const;
  [[nodiscard]] const BaVertex& _vertexOf(int index) const {
    return _vertices[static_cast<std::size_t>(index - 1)];
  }
  static int _indexOf(int corner) { return corner; }
  static int _indexOf(const BaMDTexturedCorner& corner) { return corner.vertex; }
  // The corners without those at the place of the one before; warns of each.
  template <class Corner>
  std::span<const Corner> _withoutDuplicates(std::span<const Corner> corners,
                                             std::vector<Corner>* kept) const;

  const BaBody& _body;
  const BaMDGeometry& _geometry;
  BaModel* _model;
  std::vector<BaVertex> _vertices;
  std::vector<int> _kept;
  std::vector<BaMDTexturedCorner> _kept_textured;
};

bool GeometryExtractor::extract(const BaMDVertices* vertices, const BaBodiesByName& bodies) {
  if (vertices != nullptr && !VertexMaker(_body, bodies).make(*vertices, &_vertices)) return false;
  for (const BaMDMaterialGroup* group : _geometry.materialGroups()) {
    if (!_extractGroup(*group)) return false;
  }
  return true;
}

bool GeometryExtractor::_extractGroup(const BaMDMaterialGroup& group) {
  const BaMaterial* material =
      group.material().isNull() ? nullptr : _model->materialByName(group.material());
  if (material == nullptr) {
    return BaFail("MATERIAL_GROUP specifies a material, \"" + BaShown(group.material()) +
                  "\", that does not exist.");
  }
  for (const BaMDBone& md_bone : group.bones()) {
    auto bone = std::make_unique<BaBone>(_body.id(), material->id());
    bone->setPoints({md_bone.from.x, md_bone.from.y, md_bone.from.z},
                    {md_bone.to.x, md_bone.to.y, md_bone.to.z});
    _model->addBone(std::move(bone));
  }
  for (int i = 0; i < group.polygons().count(); ++i) {
    _addPolygon(material->id(), group.polygons()[i]);
  }
  for (int i = 0; i < group.texturedPolygons().count(); ++i) {
    _addTexturedPolygon(material->id(), group.texturedPolygons()[i]);
  }
  for (int i = 0; i < group.triangleStrips().count(); ++i) {
    auto mesh = BaVertexElement::makeIn<BaTMesh>(_model->arena(), _body.id(), material->id());
    mesh->setVertices(_copyVertices(group.triangleStrips()[i]));
    _model->addTMesh(std::move(mesh));
  }
  for (int i = 0; i < group.texturedTriangleStrips().count(); ++i) {
    auto mesh =
        BaVertexElement::makeIn<BaTexturedTMesh>(_model->arena(), _body.id(), material->id());
    BtDArray<BaVertex> vertices;
    BtDArray<BaTextureCoords> coords;
    _copyCorners(group.texturedTriangleStrips()[i], &vertices, &coords);
    mesh->setVertices(std::move(vertices), std::move(coords));
    _model->addTexturedTMesh(std::move(mesh));
  }
  return true;
}

template <class Corner>
std::span<const Corner> GeometryExtractor::_withoutDuplicates(std::span<const Corner> corners,
                                                              std::vector<Corner>* kept) const {
  const auto same_place = [this](const Corner& a, const Corner& b) {
    return _vertexOf(_indexOf(a)) == _vertexOf(_indexOf(b));
  };
  const bool has_some =
      std::adjacent_find(corners.begin(), corners.end(), same_place) != corners.end() ||
      (corners.size() > 1 && same_place(corners.front(), corners.back()));
  if (!has_some) return corners;
  kept->clear();
  for (const Corner& corner : corners) {
    if (!kept->empty() && same_place(corner, kept->back())) {
      theExceptObj.setAsWarning(DuplicateWarning());
    } else {
      kept->push_back(corner);
    }
  }
  if (kept->size() > 1 && same_place(kept->front(), kept->back())) {
    theExceptObj.setAsWarning(DuplicateWarning());
    kept->pop_back();
  }
  return *kept;
}

void GeometryExtractor::_addPolygon(int material_id, std::span<const int> corners) {
  const std::span<const int> kept = _withoutDuplicates(corners, &_kept);
  if (kept.size() < kFewestCorners) return theExceptObj.setAsWarning(DegenerateWarning(false));
  auto polygon = BaVertexElement::makeIn<BaPolygon>(_model->arena(), _body.id(), material_id);
  polygon->setVertices(_copyVertices(kept));
  _model->addPolygon(std::move(polygon));
}

void GeometryExtractor::_addTexturedPolygon(int material_id,
                                            std::span<const BaMDTexturedCorner> corners) {
  const std::span<const BaMDTexturedCorner> kept = _withoutDuplicates(corners, &_kept_textured);
  if (kept.size() < kFewestCorners) return theExceptObj.setAsWarning(DegenerateWarning(true));
  auto polygon =
      BaVertexElement::makeIn<BaTexturedPolygon>(_model->arena(), _body.id(), material_id);
  BtDArray<BaVertex> vertices;
  BtDArray<BaTextureCoords> coords;
  _copyCorners(kept, &vertices, &coords);
  polygon->setVertices(std::move(vertices), std::move(coords));
  _model->addTexturedPolygon(std::move(polygon));
}

BtDArray<BaVertex> GeometryExtractor::_copyVertices(std::span<const int> corners) const {
  BtDArray<BaVertex> vertices;
  vertices.fillIn(_model->arena(), SizeTToInt(corners.size()), [&](int i) -> const BaVertex& {
    return _vertexOf(corners[static_cast<std::size_t>(i)]);
  });
  return vertices;
}

void GeometryExtractor::_copyCorners(std::span<const BaMDTexturedCorner> corners,
                                     BtDArray<BaVertex>* vertices,
                                     BtDArray<BaTextureCoords>* coords) const {
  const int count = SizeTToInt(corners.size());
  vertices->fillIn(_model->arena(), count, [&](int i) -> const BaVertex& {
    return _vertexOf(corners[static_cast<std::size_t>(i)].vertex);
  });
  coords->fillIn(_model->arena(), count, [&](int i) {
    return _geometry.textureCoords()[corners[static_cast<std::size_t>(i)].coord - 1];
  });
}

}  // namespace

bool BaExtractGeometry(const BaMDGeometry& geometry, const BaMDVertices* vertices,
                       const BaBodiesByName& bodies, BaModel* model) {
  const auto body = bodies.find(geometry.bodyName());
  if (body == bodies.end()) {
    return BaFail("GEOMETRY section specifies a body, \"" + BaShown(geometry.bodyName()) +
                  "\", that does not exist.");
  }
  return GeometryExtractor(*body->second, geometry, model).extract(vertices, bodies);
}
