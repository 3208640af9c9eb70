// Geometries from poly sets.
#include "Bt/bthash.h"
#include "baconvert.h"
#include "bamdsection.h"

namespace {

// Collects the material groups of one body.
class GeometryMaker {
 public:
  GeometryMaker(const BaMaterialNames& material_names, BaMDGeometry* geometry)
      : _material_names(material_names), _geometry(geometry) {}

  void addPolygons(const BaModelData_PolyList& polygons,
                   BaMDIndexLists<int>& (BaMDMaterialGroup::*lists)());
  void addTexturedPolygons(const BaModelData_PolyList& polygons,
                           BaMDIndexLists<BaMDTexturedCorner>& (BaMDMaterialGroup::*lists)());
  void addBones(const BaElements<BaBone*>& bones);
  void setTextureCoords() {
    _geometry->setTextureCoords(BaToArray<BaTextureCoords>({_coords.begin(), _coords.end()}));
  }

  // Makes room for the texture coordinates: most vertices have one pair, which few others have.
  void expectCoords(std::size_t n_vertices) {
    _coord_map.reserve(n_vertices);
    _last_coords.assign(n_vertices, -1);
  }

 private:
  // The place of the group of a material, which is made at its first use.
  std::size_t _placeOf(int material_id) {
    if (_groups.empty() || _last_material_id != material_id) _last_place = _find(material_id);
    _last_material_id = material_id;
    return _last_place;
  }
  std::size_t _find(int material_id);
  // The position of the texture coordinates of a corner. `vertex` is 0-based.
  int _coordAt(const BaTextureCoords& coord, int vertex);
  // Makes room in the groups for the polygons that they are to hold.
  template <class Entry>
  void _makeRoom(const BaModelData_PolyList& polygons,
                 BaMDIndexLists<Entry>& (BaMDMaterialGroup::*lists)());

  const BaMaterialNames& _material_names;
  BaMDGeometry* _geometry;
  BtDynArray<int> _material_ids;
  MaterialIdMap _material_id_map;
  std::vector<BaMDMaterialGroup*> _groups;  // parallel to _material_ids
  int _last_material_id = -1;
  std::size_t _last_place = 0;
  BtDynArray<BaTextureCoords> _coords;
  TCoordMap _coord_map;
  // The texture coordinates that each vertex had last: most vertices have the same in all polygons.
  std::vector<int> _last_coords;
};

std::size_t GeometryMaker::_find(int material_id) {
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
void GeometryMaker::_makeRoom(const BaModelData_PolyList& polygons,
                              BaMDIndexLists<Entry>& (BaMDMaterialGroup::*lists)()) {
  struct Room {
    std::size_t entries = 0;
    std::size_t lists = 0;
  };
  std::vector<Room> rooms;
  for (int i = 0; i < polygons.count(); ++i) {
    const BaModelData_PolyList::Polygon polygon = polygons[i];
    const std::size_t place = _placeOf(polygon.material_id);
    if (place >= rooms.size()) rooms.resize(place + 1);
    rooms[place].entries += polygon.vertices.size();
    ++rooms[place].lists;
  }
  for (std::size_t i = 0; i < rooms.size(); ++i) {
    (_groups[i]->*lists)().reserve(rooms[i].entries, rooms[i].lists);
  }
}

void GeometryMaker::addPolygons(const BaModelData_PolyList& polygons,
                                BaMDIndexLists<int>& (BaMDMaterialGroup::*lists)()) {
  _makeRoom(polygons, lists);
  for (int i = 0; i < polygons.count(); ++i) {
    const BaModelData_PolyList::Polygon polygon = polygons[i];
    BaMDIndexLists<int>& list = (_groups[_placeOf(polygon.material_id)]->*lists)();
    for (const int vertex : polygon.vertices) list.push(vertex + 1);
    list.endList();
  }
}

inline int GeometryMaker::_coordAt(const BaTextureCoords& coord, int vertex) {
  int& last = _last_coords[static_cast<std::size_t>(vertex)];
  if (last < 0 || !(_coords[last] == coord)) last = TCoordAt(coord, _coords, _coord_map);
  return last;
}

void GeometryMaker::addTexturedPolygons(
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

void GeometryMaker::addBones(const BaElements<BaBone*>& bones) {
  for (const BaBone* bone : bones) {
    const std::array<float, 3>& from = bone->from();
    const std::array<float, 3>& to = bone->to();
    _groups[_placeOf(bone->materialId())]->bones().push_back(
        {{from[0], from[1], from[2]}, {to[0], to[1], to[2]}});
  }
}

}  // namespace

std::unique_ptr<BaMDGeometry> BaToMDGeometry(const BaBody& body,
                                             const BaModelData_PolySet* poly_set,
                                             const BtStr& vertices_name,
                                             const BaMaterialNames& material_names) {
  auto geometry = std::make_unique<BaMDGeometry>();
  geometry->setBodyName(BaDocumentName(body));
  geometry->setVerticesName(vertices_name);
  GeometryMaker maker(material_names, geometry.get());
  if (poly_set != nullptr) {
    BtAssert(poly_set->body_id == body.id(), "poly_set->body_id==body->id()");
    if (!poly_set->texturedPolygons().empty() || !poly_set->texturedTMeshes().empty()) {
      maker.expectCoords(poly_set->vertices().size());
    }
    maker.addPolygons(poly_set->polygons(), &BaMDMaterialGroup::polygons);
    maker.addTexturedPolygons(poly_set->texturedPolygons(), &BaMDMaterialGroup::texturedPolygons);
    maker.addPolygons(poly_set->tMeshes(), &BaMDMaterialGroup::triangleStrips);
    maker.addTexturedPolygons(poly_set->texturedTMeshes(),
                              &BaMDMaterialGroup::texturedTriangleStrips);
    maker.setTextureCoords();
  }
  maker.addBones(body.bones());
  return geometry;
}
