// The geometries of a document as polygons, meshes and bones of a model.
#include <type_traits>

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
  template <class Polygon, class Corner>
  void _addPolygon(int material_id, std::span<const Corner> corners);
  template <class Strip, class Corner>
  void _addStrip(int material_id, std::span<const Corner> corners);
  // Gives an element the vertices, and the texture coordinates, of corners.
  template <class Element>
  void _setCorners(std::span<const int> corners, Element* element) const;
  template <class Element>
  void _setCorners(std::span<const BaMDTexturedCorner> corners, Element* element) const;
  template <class Corner>
  [[nodiscard]] BtDArray<BaVertex> _copyVertices(std::span<const Corner> corners) const;
  static int _indexOf(int corner) { return corner; }
  static int _indexOf(const BaMDTexturedCorner& corner) { return corner.vertex; }
  // The corners without those at the place of the one before; warns of each.
  template <class Corner>
  [[nodiscard]] std::vector<Corner> _withoutDuplicates(std::span<const Corner> corners) const;

  const BaBody& _body;
  const BaMDGeometry& _geometry;
  BaSetVertices* _vertices;
  BaModel* _model;
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
    _addPolygon<BaPolygon>(material->id(), group.polygons()[i]);
  }
  for (int i = 0; i < group.texturedPolygons().count(); ++i) {
    _addPolygon<BaTexturedPolygon>(material->id(), group.texturedPolygons()[i]);
  }
  for (int i = 0; i < group.triangleStrips().count(); ++i) {
    _addStrip<BaTMesh>(material->id(), group.triangleStrips()[i]);
  }
  for (int i = 0; i < group.texturedTriangleStrips().count(); ++i) {
    _addStrip<BaTexturedTMesh>(material->id(), group.texturedTriangleStrips()[i]);
  }
  return true;
}

template <class Corner>
std::vector<Corner> GeometryExtractor::_withoutDuplicates(std::span<const Corner> corners) const {
  const auto same_place = [this](const Corner& a, const Corner& b) {
    return _vertices->point(_indexOf(a)) == _vertices->point(_indexOf(b));
  };
  std::vector<Corner> kept;
  for (const Corner& corner : corners) {
    if (!kept.empty() && same_place(corner, kept.back())) {
      BtWarn(BtCode("vertex-duplicate"), DuplicateWarning());
    } else {
      kept.push_back(corner);
    }
  }
  if (kept.size() > 1 && same_place(kept.front(), kept.back())) {
    BtWarn(BtCode("vertex-duplicate"), DuplicateWarning());
    kept.pop_back();
  }
  return kept;
}

template <class Polygon, class Corner>
void GeometryExtractor::_addPolygon(int material_id, std::span<const Corner> corners) {
  auto polygon = BaVertexElement::makeIn<Polygon>(_model->arena(), _body.id(), material_id);
  _setCorners(corners, polygon.get());
  if (polygon->repeatsVertex()) {
    _setCorners(std::span<const Corner>(_withoutDuplicates(corners)), polygon.get());
  }
  if (polygon->numVertices() < kFewestCorners)
    return BtWarn(BtCode("polygon-degenerate"), DegenerateWarning(!std::is_same_v<Corner, int>));
  _model->load(std::move(polygon));
}

template <class Strip, class Corner>
void GeometryExtractor::_addStrip(int material_id, std::span<const Corner> corners) {
  auto strip = BaVertexElement::makeIn<Strip>(_model->arena(), _body.id(), material_id);
  _setCorners(corners, strip.get());
  _model->load(std::move(strip));
}

template <class Element>
void GeometryExtractor::_setCorners(std::span<const int> corners, Element* element) const {
  element->setVertices(_copyVertices(corners));
}

template <class Element>
void GeometryExtractor::_setCorners(std::span<const BaMDTexturedCorner> corners,
                                    Element* element) const {
  const BtDArray<BaTextureCoords>& all = _geometry.textureCoords();
  BtDArray<BaTextureCoords> coords;
  coords.fillIn(_model->arena(), SizeTToInt(corners.size()),
                [&](int i) { return all[corners[static_cast<std::size_t>(i)].coord - 1]; });
  element->setVertices(_copyVertices(corners), std::move(coords));
}

template <class Corner>
BtDArray<BaVertex> GeometryExtractor::_copyVertices(std::span<const Corner> corners) const {
  BtDArray<BaVertex> vertices;
  vertices.fillIn(_model->arena(), SizeTToInt(corners.size()), [&](int i) {
    return _vertices->vertex(_indexOf(corners[static_cast<std::size_t>(i)]));
  });
  return vertices;
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
