// Geometries from poly sets.
#include "Bt/bthash.h"
#include "baconvert.h"
#include "bamdsection.h"

namespace {

constexpr std::size_t kMaterialsOfMost = 8;

}  // namespace

std::size_t BaGeometryMaker::_find(int material_id) {
  const auto place =
      static_cast<std::size_t>(MaterialIdAt(material_id, _material_ids, _material_id_map));
  if (place == _groups.size()) {
    auto group = std::make_unique<BaMDMaterialGroup>();
    group->setMaterial(_material_names(material_id));
    _groups.push_back(_geometry->addMaterialGroup(std::move(group)));
  }
  return place;
}

template <class Entry>
void BaGeometryMaker::_makeRoom(const BaModelData_PolyList& polygons,
                                BaMDIndexLists<Entry>& (BaMDMaterialGroup::*lists)()) {
  _rooms.clear();
  for (int i = 0; i < polygons.count(); ++i) {
    const BaModelData_PolyList::Polygon polygon = polygons[i];
    const std::size_t place = _placeOf(polygon.material_id);
    if (place >= _rooms.size()) _rooms.resize(place + 1);
    _rooms[place].entries += polygon.vertices.size();
    ++_rooms[place].lists;
  }
  for (std::size_t i = 0; i < _rooms.size(); ++i) {
    (_groups[i]->*lists)().reserve(_rooms[i].entries, _rooms[i].lists);
  }
}

void BaGeometryMaker::_addPolygons(const BaModelData_PolyList& polygons,
                                   BaMDIndexLists<int>& (BaMDMaterialGroup::*lists)()) {
  _makeRoom(polygons, lists);
  for (int i = 0; i < polygons.count(); ++i) {
    const BaModelData_PolyList::Polygon polygon = polygons[i];
    BaMDIndexLists<int>& list = (_groups[_placeOf(polygon.material_id)]->*lists)();
    for (const int vertex : polygon.vertices) list.push(vertex + 1);
    list.endList();
  }
}

inline int BaGeometryMaker::_coordAt(const BaTextureCoords& coord, int vertex) {
  int& last = _last_coords[static_cast<std::size_t>(vertex)];
  if (last < 0 || !(_coords[last] == coord)) last = TCoordAt(coord, _coords, _coord_map);
  return last;
}

void BaGeometryMaker::_addTexturedPolygons(
    const BaModelData_PolyList& polygons,
    BaMDIndexLists<BaMDTexturedCorner>& (BaMDMaterialGroup::*lists)()) {
  _makeRoom(polygons, lists);
  for (int i = 0; i < polygons.count(); ++i) {
    const BaModelData_PolyList::Polygon polygon = polygons[i];
    BaMDIndexLists<BaMDTexturedCorner>& list = (_groups[_placeOf(polygon.material_id)]->*lists)();
    if (_coord_map.isLarge() && i + 1 < polygons.count()) {
      for (const BaTextureCoords& coord : polygons[i + 1].t_coords) {
        _coord_map.expect(BtHashOf(coord.u, coord.v));
      }
    }
    for (std::size_t corner = 0; corner < polygon.vertices.size(); ++corner) {
      const int vertex = polygon.vertices[corner];
      list.push({vertex + 1, _coordAt(polygon.t_coords[corner], vertex) + 1});
    }
    list.endList();
  }
}

void BaGeometryMaker::_addBones(const BaElements<BaBone*>& bones) {
  for (const BaBone* bone : bones) {
    const std::array<float, 3>& from = bone->from();
    const std::array<float, 3>& to = bone->to();
    _groups[_placeOf(bone->materialId())]->bones().push_back(
        {{from[0], from[1], from[2]}, {to[0], to[1], to[2]}});
  }
}

void BaGeometryMaker::_forgetBody() {
  _material_ids.clear();
  _material_id_map.reserve(kMaterialsOfMost);  // in the memory that it has
  _groups.clear();
  _coords.clear();
}

void BaGeometryMaker::_expectCoords(std::size_t n_vertices) {
  _coord_map.reserve(n_vertices);
  _last_coords.assign(n_vertices, -1);
}

std::unique_ptr<BaMDGeometry> BaGeometryMaker::make(const BaBody& body,
                                                    const BaModelData_PolySet* poly_set,
                                                    const BtStr& vertices_name) {
  auto geometry = std::make_unique<BaMDGeometry>();
  geometry->setBodyName(BaDocumentName(body));
  geometry->setVerticesName(vertices_name);
  _forgetBody();
  _geometry = geometry.get();
  if (poly_set != nullptr) {
    BtAssert(poly_set->body_id == body.id(), "poly_set->body_id==body->id()");
    if (!poly_set->texturedPolygons().empty() || !poly_set->texturedTMeshes().empty()) {
      _expectCoords(poly_set->vertices().size());
    }
    _addPolygons(poly_set->polygons(), &BaMDMaterialGroup::polygons);
    _addTexturedPolygons(poly_set->texturedPolygons(), &BaMDMaterialGroup::texturedPolygons);
    _addPolygons(poly_set->tMeshes(), &BaMDMaterialGroup::triangleStrips);
    _addTexturedPolygons(poly_set->texturedTMeshes(), &BaMDMaterialGroup::texturedTriangleStrips);
    geometry->setTextureCoords(BaToArray<BaTextureCoords>({_coords.begin(), _coords.end()}));
  }
  _addBones(body.bones());
  return geometry;
}
