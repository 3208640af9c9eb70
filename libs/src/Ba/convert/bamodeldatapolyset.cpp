#include "Ba/bamodeldatapolyset.h"

#include <algorithm>
#include <array>

#include "Ba/bamodel.h"
#include "Bt/bthash.h"

bool BaModelData_PolySet::_merge_vertices = true;

namespace {

constexpr int kFewestVertices = 2;
constexpr int kCornersOfTriangle = 3;

std::uint64_t HashOf(const float* position) {
  return BtHashOf(position[0], position[1], position[2]);
}

bool SamePlace(const BaMDPoint& point, const float* position) {
  return point.x == position[0] && point.y == position[1] && point.z == position[2];
}

}  // namespace

void BaModelData_PolyList::append(const Polygon& polygon) {
  _vertices.append(polygon.vertices);
  _t_coords.insert(_t_coords.end(), polygon.t_coords.begin(), polygon.t_coords.end());
  _material_ids.push_back(polygon.material_id);
}

void BaModelData_PolyList::drop() {
  if (!_t_coords.empty()) _t_coords.resize(_t_coords.size() - open().size());
  _vertices.dropList();
}

template <class Elements>
std::size_t BaModelData_PolyList::reserveFor(const Elements& elements) {
  std::size_t corners = 0;
  bool textured = false;
  for (const auto* element : elements) {
    corners += static_cast<std::size_t>(element->numVertices());
    if constexpr (requires { element->textureCoords(); }) textured = true;
  }
  const auto count = static_cast<std::size_t>(elements.size());
  _vertices.reserve(corners, count);
  _material_ids.reserve(count);
  if (textured) _t_coords.reserve(corners);
  return corners;
}

void BaModelData_PolySet::gather(const BaBody* body) {
  BtAssert(body->isValid(), "body->isValid()");
  body_id = body->id();
  parent_id = body->parentId();
  _vertices.clear();
  _effects.clear();
  _last = 0;
  _recent = {};
  for (BaModelData_PolyList* list :
       {&_polygons, &_textured_polygons, &_t_meshes, &_textured_t_meshes}) {
    list->clear();
  }
  // A vertex of a closed surface belongs to four quads or six triangles.
  constexpr std::size_t kCornersOfVertex = 4;
  const std::size_t corners = _polygons.reserveFor(body->polygons()) +
                              _textured_polygons.reserveFor(body->texturedPolygons()) +
                              _t_meshes.reserveFor(body->tMeshes()) +
                              _textured_t_meshes.reserveFor(body->texturedTMeshes());
  constexpr std::size_t kVerticesAtBorders = 8;
  const std::size_t n_vertices = corners / kCornersOfVertex + kVerticesAtBorders;
  _by_coordinates.reserve(n_vertices);
  _vertices.reserve(n_vertices);
  _addPolygons(body->polygons(), [this](const BaPolygon& polygon) { addPolygon(polygon); });
  _addPolygons(body->texturedPolygons(),
               [this](const BaTexturedPolygon& polygon) { addTexturedPolygon(polygon); });
  for (const BaTMesh* mesh : body->tMeshes()) {
    if (mesh->numVertices() >= kFewestVertices) addTMesh(*mesh);
  }
  for (const BaTexturedTMesh* mesh : body->texturedTMeshes()) {
    if (mesh->numVertices() >= kFewestVertices) addTexturedTMesh(*mesh);
  }
}

// Calls add(polygon) for the polygons that have a face.
template <class Elements, class Add>
void BaModelData_PolySet::_addPolygons(const Elements& polygons, Add add) {
  for (int i = 0; i < polygons.size(); ++i) {
    BtAssert(polygons[i]->isValid(), "body->polygons()[num]->isValid()");
    _expectNext(polygons, i);
    if (polygons[i]->numVertices() >= kFewestVertices) add(*polygons[i]);
  }
}

// The vertices of a large body fill more memory than is at hand at once: what the element behind
// position `i` will look up is fetched while that one is worked on.
template <class Elements>
void BaModelData_PolySet::_expectNext(const Elements& elements, int i) const {
  if (!_by_coordinates.isLarge() || i + 1 == elements.size()) return;
  for (const BaVertex& vertex : elements[i + 1]->vertices()) {
    _by_coordinates.expect(HashOf(vertex.position()));
  }
}

int BaModelData_PolySet::vertexAt(const BaVertex& vertex) {
  int index = _guess(vertex.position());
  if (index < 0) index = _vertexAt(vertex);
  _recent[_oldest] = index;
  _oldest = (_oldest + 1) % _recent.size();
  _last = index;
  return index;
}

int BaModelData_PolySet::_guess(const float* position) const {
  if (!_merge_vertices || _vertices.empty()) return -1;
  const auto is_here = [this, position](int index) {
    return SamePlace(_vertices[static_cast<std::size_t>(index)], position);
  };
  if (_last + 1 < SizeTToInt(_vertices.size()) && is_here(_last + 1)) return _last + 1;
  if (_last > 0 && is_here(_last - 1)) return _last - 1;
  const auto* const found = std::find_if(_recent.begin(), _recent.end(), is_here);
  return found == _recent.end() ? -1 : *found;
}

int BaModelData_PolySet::_vertexAt(const BaVertex& vertex) {
  const float* position = vertex.position();
  const std::uint64_t hash = HashOf(position);
  const auto is_here = [this, position](int index) {
    return SamePlace(_vertices[static_cast<std::size_t>(index)], position);
  };
  const int index = SizeTToInt(_vertices.size());
  if (_merge_vertices) {
    const int found = _by_coordinates.findOrInsert(hash, is_here, index);
    if (found != index) return found;
  } else if (!_by_coordinates.replace(hash, is_here, index)) {
    _by_coordinates.insert(hash, index);
  }
  _vertices.push_back({position[0], position[1], position[2]});
  if (!vertex.effects().empty()) _effects.push_back({index, &vertex.effects()});
  return index;
}

int BaModelData_PolySet::vertexAt(const BaVertex& vertex) const {
  const float* position = vertex.position();
  const int index = _by_coordinates.find(HashOf(position), [this, position](int i) {
    return SamePlace(_vertices[static_cast<std::size_t>(i)], position);
  });
  BtAssert(index >= 0, "index>=0 && index<vertices.size()");
  return index;
}

BaModelData_PolySet::Polygon* BaModelData_PolySet::addPolygon(BaPolygon* bap) {
  BtAssert(bap != nullptr, "bap");
  _added = _polygons[addPolygon(*bap)];
  return &_added;
}

int BaModelData_PolySet::addPolygon(const BaPolygon& polygon) {
  BtAssert(ValidPolygon(polygon), "ValidPolygon(*bap)");
  for (const BaVertex& vertex : polygon.vertices()) _polygons.push(vertexAt(vertex));
  _polygons.end(polygon.materialId());
  return _polygons.count() - 1;
}

int BaModelData_PolySet::addTexturedPolygon(const BaTexturedPolygon& polygon) {
  BtAssert(ValidPolygon(polygon), "ValidPolygon(*bap)");
  for (int i = 0; i < polygon.numVertices(); ++i) {
    _textured_polygons.push(vertexAt(polygon.vertices()[i]), polygon.textureCoords()[i]);
  }
  _textured_polygons.end(polygon.materialId());
  return _textured_polygons.count() - 1;
}

int BaModelData_PolySet::_endOfPiece(const BtDArray<BaVertex>& strip, int begin) {
  int end = begin + 1;
  while (end < strip.size() && !_areMerged(strip[end], strip[end - 1])) ++end;
  return end;
}

// Parts of a shape are often stitched together to one strip by vertices that are repeated. Readers
// of documents drop repeats, after which every second triangle would face the other way and others
// would bridge the parts.
template <class Push>
void BaModelData_PolySet::_cutStrip(const BaTMesh& mesh, BaModelData_PolyList* list, Push push) {
  const BtDArray<BaVertex>& strip = mesh.vertices();
  const int count = strip.size();
  for (int begin = 0, end = 0; begin < count; begin = end) {
    end = _endOfPiece(strip, begin);
    // The triangles at odd places face the other way, so one of them cannot begin a strip as it is.
    const bool begins_odd = begin % 2 != 0 && end - begin >= kCornersOfTriangle;
    if (begins_odd && !_areMerged(strip[begin], strip[begin + 2])) {
      for (const int i : {begin + 1, begin, begin + 2}) push(i);
      list->end(mesh.materialId());
    }
    const int first = begins_odd ? begin + 1 : begin;
    const bool is_whole = end - first == count;
    if (end - first < kCornersOfTriangle && !is_whole) continue;
    for (int i = first; i < end; ++i) push(i);
    list->end(mesh.materialId());
  }
}

void BaModelData_PolySet::addTMesh(const BaTMesh& mesh) {
  _cutStrip(mesh, &_t_meshes, [&](int i) { _t_meshes.push(vertexAt(mesh.vertices()[i])); });
}

void BaModelData_PolySet::addTexturedTMesh(const BaTexturedTMesh& mesh) {
  _cutStrip(mesh, &_textured_t_meshes, [&](int i) {
    _textured_t_meshes.push(vertexAt(mesh.vertices()[i]), mesh.textureCoords()[i]);
  });
}

// The normal of Newell's method, which holds for polygons that are not flat or not convex, too.
bool BaModelData_PolySet::_hasFace(std::span<const int> polygon) const {
  std::array<double, 3> normal = {};
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const BaMDPoint& a = _vertices[static_cast<std::size_t>(polygon[i])];
    const BaMDPoint& b = _vertices[static_cast<std::size_t>(polygon[(i + 1) % polygon.size()])];
    const std::array<double, 3> p = {a.x, a.y, a.z};
    const std::array<double, 3> q = {b.x, b.y, b.z};
    for (std::size_t c = 0; c < 3; ++c) {
      const std::size_t d = (c + 1) % 3;
      const std::size_t e = (c + 2) % 3;
      normal[c] += (p[d] - q[d]) * (p[e] + q[e]);
    }
  }
  return normal[0] != 0 || normal[1] != 0 || normal[2] != 0;
}

void BaModelData_PolySet::_split(const BaModelData_PolyList::Polygon& polygon, int max,
                                 BaModelData_PolyList* pieces) {
  const auto push = [&polygon, pieces](int corner) {
    const auto place = static_cast<std::size_t>(corner);
    if (polygon.t_coords.empty()) return pieces->push(polygon.vertices[place]);
    pieces->push(polygon.vertices[place], polygon.t_coords[place]);
  };
  const auto end = [this, &polygon, pieces] {
    const std::span<const int> piece = pieces->open();
    for (std::size_t i = 1; i < piece.size(); ++i) {
      BtAssert(piece[i] != piece[i - 1], "poly.vertices[i]!=poly.vertices[i-1]");
    }
    if (_hasFace(piece)) return pieces->end(polygon.material_id);
    pieces->drop();
  };
  const int polyvertcount = SizeTToInt(polygon.vertices.size());
  int vert_num = std::min(max, polyvertcount);
  for (int i = 0; i < vert_num; ++i) push(i);
  end();
  while (vert_num < polyvertcount) {
    const int count = std::min(max, polyvertcount + 2 - vert_num);
    push(0);
    for (int i = 1; i < count; ++i) push(vert_num - 2 + i);
    end();
    vert_num += count - 2;
  }
  BtAssert(vert_num == polyvertcount, "vert_num==polyvertcount");
}

void BaModelData_PolySet::splitPolygons(int max) {
  BtAssert(max >= 3, "max>=3");
  for (BaModelData_PolyList* list : {&_polygons, &_textured_polygons}) {
    BaModelData_PolyList pieces;
    for (int i = 0; i < list->count(); ++i) {
      const BaModelData_PolyList::Polygon polygon = (*list)[i];
      if (polygon.vertices.size() > static_cast<std::size_t>(max)) {
        _split(polygon, max, &pieces);
      } else {
        pieces.append(polygon);
      }
    }
    *list = std::move(pieces);
  }
}

void BuildPolySets(BtList<BaModelData_PolySet*>* poly_sets, const BaModel& model) {
  for (const std::unique_ptr<BaBody>& body : model.bodies()) {
    if (body == nullptr) continue;
    BtAssert(body->isValid(), "body->isValid()");
    if (!body->hasPolygons()) continue;
    poly_sets->append(std::make_unique<BaModelData_PolySet>(body.get()).release());
  }
}

int ValidPolygon(const BaPolygon& polygon) {
  CheckVertices(polygon);
  const BtDArray<BaVertex>& vertices = polygon.vertices();
  for (int i = 1; i < vertices.size(); ++i) {
    BtAssert(vertices[i] != vertices[i - 1], "polygon.vertices()[i]!=polygon.vertices()[i-1]");
  }
  BtAssert(vertices[0] != vertices.last(), "polygon.vertices()[0]!=polygon.vertices().last()");
  return 1;
}

void BaModelData_TMeshTriIter::getNextTri(int (*triangle)[3]) {
  BtAssert(!atEnd(), "!atEnd()");
  const std::size_t odd = _next % 2;
  (*triangle)[0] = _strip[_next + odd];
  (*triangle)[1] = _strip[_next + 1 - odd];
  (*triangle)[2] = _strip[_next + 2];
  ++_next;
}

int MaterialIdAt(int material_id, BtDynArray<int>& material_ids, MaterialIdMap& map) {
  const int index = map.findOrInsert(
      BtHash()(material_id), [&](int i) { return material_ids[i] == material_id; },
      material_ids.size());
  if (index == material_ids.size()) material_ids.append(material_id);
  BtAssert(index >= 0 && index < material_ids.size(), "index>=0 && index<material_ids.size()");
  return index;
}

int TCoordAt(const BaTextureCoords& t_coord, BtDynArray<BaTextureCoords>& t_coords,
             TCoordMap& map) {
  const std::uint64_t hash = BtHashOf(t_coord.u, t_coord.v);
  const int index = map.findOrInsert(
      hash, [&](int i) { return t_coords[i] == t_coord; }, t_coords.size());
  if (index == t_coords.size()) t_coords.append(t_coord);
  BtAssert(index >= 0 && index < t_coords.size(), "index>=0 && index<t_coords.size()");
  return index;
}
