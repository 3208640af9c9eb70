// Pieces of the conversion between models and documents.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Ba/bamodeldatapolyset.h"
#include "Bt/array.h"

// The name of a body in a document: white space and control characters, which cannot stand there,
// become "_"; a body without a name is called after its id.
BtStr BaDocumentName(const BaBodyObj& body);

// The name of the material of an id, which must be in the model, in the document.
using BaMaterialNames = std::function<BtStr(int material_id)>;

// The vertex set of a poly set, with its effects.
std::unique_ptr<BaMDVertices> BaToMDVertices(const BaModel& model,
                                             const BaModelData_PolySet& poly_set);

// Makes geometries of bodies. What it takes to do so is kept from one body to the next: there may
// be a million of them.
class BaGeometryMaker {
 public:
  // The names must last as long as the maker.
  explicit BaGeometryMaker(BaMaterialNames material_names)
      : _material_names(std::move(material_names)) {}

  // The geometry of a body over the vertex set of the poly set; both are null for a body that has
  // bones only.
  std::unique_ptr<BaMDGeometry> make(const BaBody& body, const BaModelData_PolySet* poly_set,
                                     const BtStr& vertices_name);

 private:
  void _addPolygons(const BaModelData_PolyList& polygons,
                    BaMDIndexLists<int>& (BaMDMaterialGroup::*lists)());
  void _addTexturedPolygons(const BaModelData_PolyList& polygons,
                            BaMDIndexLists<BaMDTexturedCorner>& (BaMDMaterialGroup::*lists)());
  void _addBones(const BaElements<BaBone*>& bones);
  void _forgetBody();
  // Makes room for the texture coordinates: most vertices have one pair, which few others have.
  void _expectCoords(std::size_t n_vertices);
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

  // How much of a kind a group is to hold.
  struct Room {
    std::size_t entries = 0;
    std::size_t lists = 0;
  };

  BaMaterialNames _material_names;
  BaMDGeometry* _geometry = nullptr;
  BtDynArray<int> _material_ids;
  MaterialIdMap _material_id_map;
  std::vector<BaMDMaterialGroup*> _groups;  // parallel to _material_ids
  std::vector<Room> _rooms;                 // of the groups
  int _last_material_id = -1;
  std::size_t _last_place = 0;
  BtDynArray<BaTextureCoords> _coords;
  TCoordMap _coord_map;
  // The texture coordinates that each vertex had last: most vertices have the same in all polygons.
  std::vector<int> _last_coords;
};

class BaSetVertices;

// Adds the content of a geometry to a model that is being built; false after a recorded error.
// `vertices` is null for a geometry without a vertex set; its indices are right.
using BaBodiesByName = BtNameMap<const BaBody*>;
bool BaExtractGeometry(const BaMDGeometry& geometry, BaSetVertices* vertices,
                       const BaBodiesByName& bodies, BaModel* model);

// Materials, with their textures and without an id or a name.
std::unique_ptr<BaMDMaterial> BaToMDMaterial(const BaMaterial& material);
std::unique_ptr<BaMaterial> BaToMaterial(const BaMDMaterial& md_material, bool textures);
