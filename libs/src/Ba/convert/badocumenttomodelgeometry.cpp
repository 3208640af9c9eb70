// The geometries of a document as polygons, meshes and bones of a model.
#include <algorithm>

#include "baconvert.h"
#include "badocumenttomodelvertices.h"
#include "bamdsection.h"

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

// Adds one geometry to a model.
class GeometryExtractor {
 public:
  // `vertices` is null for a geometry without a vertex set.
  GeometryExtractor(const BaBody& body, const BaMDGeometry& geometry, BaSetVertices* vertices,
                    BaModel* model)
      : _body(body), _geometry(geometry), _vertices(vertices), _model(model) {}

  // False after a recorded error.
  bool extract();

 private:
  bool _extractGroup(const BaMDMaterialGroup& group);
  void _addPolygon(int material_id, std::span<const int> corners);
  void _addTexturedPolygon(int material_id, std::span<const BaMDTexturedCorner> corners);
  [[nodiscard]] BtDArray<BaVertex> _copyVertices(std::span<const int> corners) const;
  // Splits corners into vertices and texture coordinates.
  void _copyCorners(std::span<const BaMDTexturedCorner> corners, BtDArray<BaVertex>* vertices,
                    BtDArray<BaTextureCoords>* coords) const;
  static int _indexOf(int corner) { return corner; }
  static int _indexOf(const BaMDTexturedCorner& corner) { return corner.vertex; }
  // The corners without those at the place of the one before; warns of each.
  template <class Corner>
  std::span<const Corner> _withoutDuplicates(std::span<const Corner> corners,
                                             std::vector<Corner>* kept) const;

  const BaBody& _body;
  const BaMDGeometry& _geometry;
  BaSetVertices* _vertices;
  BaModel* _model;
  std::vector<int> _kept;
  std::vector<BaMDTexturedCorner> _kept_textured;
};

bool GeometryExtractor::extract() {
  for (const BaMDMaterialGroup* group : _geometry.materialGroups()) {
    if (!_extractGroup(*group)) return false;
  }
  return true;
}

bool GeometryExtractor::_extractGroup(const BaMDMaterialGroup& group) {
  const BaMaterial* material =
      group.material().isNull() ? nullptr : _model->materialByName(group.material());
  if (material == nullptr) {
    return BtFail(BtCode("material-missing"), "MATERIAL_GROUP specifies a material, \"" +
                                                  BaShown(group.material()) +
                                                  "\", that does not exist.");
  }
  for (const BaMDBone& md_bone : group.bones()) {
    auto bone = std::make_unique<BaBone>(_body.id(), material->id());
    bone->setPoints({md_bone.from.x, md_bone.from.y, md_bone.from.z},
                    {md_bone.to.x, md_bone.to.y, md_bone.to.z});
    _model->load(std::move(bone));
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
    _model->load(std::move(mesh));
  }
  for (int i = 0; i < group.texturedTriangleStrips().count(); ++i) {
    auto mesh =
        BaVertexElement::makeIn<BaTexturedTMesh>(_model->arena(), _body.id(), material->id());
    BtDArray<BaVertex> vertices;
    BtDArray<BaTextureCoords> coords;
    _copyCorners(group.texturedTriangleStrips()[i], &vertices, &coords);
    mesh->setVertices(std::move(vertices), std::move(coords));
    _model->load(std::move(mesh));
  }
  return true;
}

template <class Corner>
std::span<const Corner> GeometryExtractor::_withoutDuplicates(std::span<const Corner> corners,
                                                              std::vector<Corner>* kept) const {
  const auto same_place = [this](const Corner& a, const Corner& b) {
    return _vertices->point(_indexOf(a)) == _vertices->point(_indexOf(b));
  };
  const bool has_some =
      std::adjacent_find(corners.begin(), corners.end(), same_place) != corners.end() ||
      (corners.size() > 1 && same_place(corners.front(), corners.back()));
  if (!has_some) return corners;
  kept->clear();
  for (const Corner& corner : corners) {
    if (!kept->empty() && same_place(corner, kept->back())) {
      BtWarn(BtCode("vertex-duplicate"), DuplicateWarning());
    } else {
      kept->push_back(corner);
    }
  }
  if (kept->size() > 1 && same_place(kept->front(), kept->back())) {
    BtWarn(BtCode("vertex-duplicate"), DuplicateWarning());
    kept->pop_back();
  }
  return *kept;
}

void GeometryExtractor::_addPolygon(int material_id, std::span<const int> corners) {
  const std::span<const int> kept = _withoutDuplicates(corners, &_kept);
  if (kept.size() < kFewestCorners)
    return BtWarn(BtCode("polygon-degenerate"), DegenerateWarning(false));
  auto polygon = BaVertexElement::makeIn<BaPolygon>(_model->arena(), _body.id(), material_id);
  polygon->setVertices(_copyVertices(kept));
  _model->load(std::move(polygon));
}

void GeometryExtractor::_addTexturedPolygon(int material_id,
                                            std::span<const BaMDTexturedCorner> corners) {
  const std::span<const BaMDTexturedCorner> kept = _withoutDuplicates(corners, &_kept_textured);
  if (kept.size() < kFewestCorners)
    return BtWarn(BtCode("polygon-degenerate"), DegenerateWarning(true));
  auto polygon =
      BaVertexElement::makeIn<BaTexturedPolygon>(_model->arena(), _body.id(), material_id);
  BtDArray<BaVertex> vertices;
  BtDArray<BaTextureCoords> coords;
  _copyCorners(kept, &vertices, &coords);
  polygon->setVertices(std::move(vertices), std::move(coords));
  _model->load(std::move(polygon));
}

BtDArray<BaVertex> GeometryExtractor::_copyVertices(std::span<const int> corners) const {
  BtDArray<BaVertex> vertices;
  vertices.fillIn(_model->arena(), SizeTToInt(corners.size()),
                  [&](int i) { return _vertices->vertex(corners[static_cast<std::size_t>(i)]); });
  return vertices;
}

void GeometryExtractor::_copyCorners(std::span<const BaMDTexturedCorner> corners,
                                     BtDArray<BaVertex>* vertices,
                                     BtDArray<BaTextureCoords>* coords) const {
  const int count = SizeTToInt(corners.size());
  vertices->fillIn(_model->arena(), count, [&](int i) {
    return _vertices->vertex(corners[static_cast<std::size_t>(i)].vertex);
  });
  coords->fillIn(_model->arena(), count, [&](int i) {
    return _geometry.textureCoords()[corners[static_cast<std::size_t>(i)].coord - 1];
  });
}

}  // namespace

bool BaExtractGeometry(const BaMDGeometry& geometry, BaSetVertices* vertices,
                       const BaBodiesByName& bodies, BaModel* model) {
  const auto body = bodies.find(geometry.bodyName());
  if (body == bodies.end()) {
    return BtFail("GEOMETRY section specifies a body, \"" + BaShown(geometry.bodyName()) +
                  "\", that does not exist.");
  }
  if (vertices != nullptr && !vertices->begin(*body->second, bodies)) return false;
  return GeometryExtractor(*body->second, geometry, vertices, model).extract();
}
