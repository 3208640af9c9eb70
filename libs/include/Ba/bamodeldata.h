// The model document: the keyword-section form of a character model, which is the text form of
// version 2.00 and what scenes are built from.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

#include "Ba/bamdbody.h"
#include "Ba/bamdgeometry.h"
#include "Ba/bamdinclude.h"
#include "Ba/bamdmaterial.h"
#include "Ba/bamdslidergroup.h"
#include "Ba/bamdvertices.h"
#include "Ba/bamodel.h"
#include "Bt/btcoordsys.h"
#include "Bt/btflatmap.h"
#include "Bt/btlist.h"
#include "Bt/btmap.h"
#include "Bt/btstr.h"

class BaModelCombine;
class Bt_IncludeChain;

// Owns its sections and keeps them in document order, bodies parents first. Lookups by name or id
// take constant time and answer the first section of that name, null when there is none.
//
// Operations that fail record an error and answer false; what was read before stays.
class BaModelData {
 public:
  BaModelData();
  BaModelData(const BaModelData&) = delete;
  BaModelData& operator=(const BaModelData&) = delete;
  ~BaModelData();

  // The sections, in document order.
  [[nodiscard]] const BtList<BaMDBody*>& bodies() const { return _bodies; }
  [[nodiscard]] const BtList<BaMDSliderGroup*>& sliderGroups() const { return _slider_groups; }
  [[nodiscard]] const BtList<BaMDMaterial*>& materials() const { return _materials; }
  [[nodiscard]] const BtList<BaMDVertices*>& vertexSets() const { return _vertex_sets; }
  [[nodiscard]] const BtList<BaMDGeometry*>& geometries() const { return _geometries; }
  // Sub-models that are not merged yet.
  [[nodiscard]] const BtList<BaMDInclude*>& includes() const { return _includes; }

  // Lookups.
  [[nodiscard]] BaMDBody* bodyByName(const BtStr& name) const;
  [[nodiscard]] BaMDBody* bodyById(int id) const;
  // The bodies whose parent has this name, in document order; those at the top for "GLOBAL". Valid
  // until a body is added or renamed.
  [[nodiscard]] const std::vector<BaMDBody*>& childBodies(const BtStr& parent_name) const;
  // The same of a body of the document, found without looking for its name.
  [[nodiscard]] const std::vector<BaMDBody*>& childBodies(const BaMDBody& parent) const;
  [[nodiscard]] BaMDMaterial* materialByName(const BtStr& name) const;
  [[nodiscard]] BaMDVertices* vertexSetByName(const BtStr& name) const;
  [[nodiscard]] BaMDSliderGroup* sliderGroupByName(const BtStr& name) const;
  // The geometries of a body, in document order. Valid until a geometry is added or a body renamed.
  [[nodiscard]] const std::vector<BaMDGeometry*>& geometriesOf(const BtStr& body_name) const;
  [[nodiscard]] const std::vector<BaMDGeometry*>& geometriesOf(const BaMDBody& body) const;

  // Adding. Names and ids must be set before: the lookups learn them here, and afterwards their
  // setters assert.
  BaMDBody* addBody(std::unique_ptr<BaMDBody> body);
  BaMDSliderGroup* addSliderGroup(std::unique_ptr<BaMDSliderGroup> group);
  BaMDMaterial* addMaterial(std::unique_ptr<BaMDMaterial> material);
  BaMDVertices* addVertexSet(std::unique_ptr<BaMDVertices> vertices);
  BaMDGeometry* addGeometry(std::unique_ptr<BaMDGeometry> geometry);
  BaMDInclude* addInclude(std::unique_ptr<BaMDInclude> include);

  // True when a mesh should share one normal among the polygons around a vertex.
  [[nodiscard]] bool combineVertexNormals() const { return _combine_vertex_normals; }
  void setCombineVertexNormals(bool combine) { _combine_vertex_normals = combine; }
  [[nodiscard]] const BaUnits& lengthUnits() const { return _length_units; }
  [[nodiscard]] const BaUnits& angleUnits() const { return _angle_units; }
  void setLengthUnits(const BaUnits& units) { _length_units = units; }
  void setAngleUnits(const BaUnits& units) { _angle_units = units; }
  // What an angle of the document is multiplied with to become radians.
  [[nodiscard]] double radiansPerAngleUnit() const;
  // The system of a body as its parent sees it: the matrix of its angles, the translation unscaled.
  void getCoordSystem(const BaMDBody& body, BtCoordSystem* coord_system) const;

  // A document may leave its bodies or materials to another one; writing then leaves them out.
  [[nodiscard]] bool bodiesExternal() const { return _bodies_external; }
  [[nodiscard]] bool materialsExternal() const { return _materials_external; }
  void setBodiesExternal(bool external) { _bodies_external = external; }
  void setMaterialsExternal(bool external) { _materials_external = external; }

  // Reads a file in place of the content. With `process_includes` the models that it includes are
  // merged into it.
  bool read(const char* file_name, bool process_includes = true);
  // Reads the sections behind the header. `directory` is the folder that relative file names in the
  // document start from; `file_name` is the file that the text comes from, if any, so that a file
  // that includes itself is found out.
  bool scan(std::istream& is, const BtStr& directory, bool process_includes,
            const char* file_name = nullptr);
  // Reads the two header lines. The version read goes to `version` unless that is null.
  static bool scanHeader(std::istream& is, float* version);
  // Writes the document to a stream or a file; asserts that no error stands. A saved document names
  // its includes from the folder that it is saved in.
  bool printOn(std::ostream& os) const;
  // The files that the last reading which processed includes has read, as those of BaModel.
  [[nodiscard]] const std::vector<BtStr>& sourceFiles() const { return _source_files; }
  bool save(const char* file_name) const;

  // Replaces the content by that of a model, which must not be in the middle of loading. With
  // `merge_vertices` polygon corners at one place become one vertex. Strips are cut where a vertex
  // would repeat the one before it. Asserts that no error stands. A failure leaves an empty
  // document.
  bool fillFrom(const BaModel& model, bool merge_vertices);
  // The same, but the polygons and strips of the model are deleted, after a failure as well. Those
  // of a body go before its shape is added: there is never room for all of them in both forms.
  bool moveFrom(BaModel* model, bool merge_vertices);
  // Adds one body of a model, its shape and the slider groups that its blends name; a group that
  // the document has already counts as it stands there. Asserts that the materials that the body
  // uses are there. A body whose name or id is taken or whose parent is not there, a name of its
  // vertex set that is taken, and a blend of no slider are errors that change nothing.
  bool fillBodyFrom(const BaModel& model, int body_id, bool merge_vertices);
  // Adds the content to an empty model. A failure leaves it empty.
  bool extractTo(BaModel* model) const;
  // The same, but geometries are emptied as soon as the model has them: there is never room for all
  // polygons twice.
  bool moveTo(BaModel* model);
  // Adds the materials to a model, with their textures unless `textures` is false. A material that
  // the model has already is an assertion failure, or passed over where `skip_known` is true.
  bool extractMaterialsTo(BaModel* model, bool textures, bool skip_known) const;
  // Renames bodies wherever the document names them; names that are not in the map stay.
  void changeBodyNames(const BtMap<BtStr, BtStr, std::less<BtStr>>& names);

  // Forgets the vertex sets and geometries.
  void clearShapes();
  // Forgets all sections, the units and the folder that names start from. The other settings stay.
  void clear();

 private:
  // What the document says about one body name.
  struct BodyEntry {
    BaMDBody* body = nullptr;
    std::vector<BaMDBody*> children;
    std::vector<BaMDGeometry*> geometries;
  };

  // Where included models go.
  struct IncludeTarget {
    BaModelCombine* combine;
    BtStr directory;  // of the including document, from which texture files are named
    Bt_IncludeChain* chain;
  };

  void _deleteSections();
  void _indexBody(BaMDBody* body);
  bool _scanSections(std::istream& is, const BtStr& directory);
  // Reads a file without merging what it includes. `chain` ends in it, or is null.
  bool _readFile(const char* file_name, Bt_IncludeChain* chain);
  bool _mergeIncludes(Bt_IncludeChain* chain);
  // Adds the models that the document includes, and those that they include, to a model. Offset and
  // suffix come on top of their own.
  bool _combineIncludes(const IncludeTarget& target, long long body_id_offset,
                        const BtStr& body_name_suffix) const;
  bool _combineFile(const BtStr& file_name, const IncludeTarget& target, long long body_id_offset,
                    const BtStr& body_name_suffix) const;
  bool _fillFrom(const BaModel& model, bool merge_vertices, BaModel* emptied);
  bool _addAllOf(const BaModel& model, BaModel* emptied);
  // Extracts the content into a model that is being built.
  bool _extractInto(BaModel* model, bool empty_geometries = false) const;
  bool _printOn(std::ostream& os, const BtStr& directory) const;
  // True when every polygon refers to vertices that exist; the first that does not is recorded.
  [[nodiscard]] bool _checkVertices() const;
  // True when every slider of a blend is one of its group's; asserts that the groups exist.
  [[nodiscard]] bool _checkBlendEffects() const;
  [[nodiscard]] bool _checkBlendGroups() const;
  // True when every geometry names a body; the first that does not is recorded as an error.
  [[nodiscard]] bool _checkGeometryBodies() const;
  void _assertGeometryBodies() const;

  bool _bodies_external = false;
  bool _materials_external = false;
  BaUnits _length_units;
  BaUnits _angle_units;
  bool _combine_vertex_normals = true;
  BtList<BaMDBody*> _bodies;
  BtList<BaMDSliderGroup*> _slider_groups;
  BtList<BaMDMaterial*> _materials;
  BtList<BaMDVertices*> _vertex_sets;
  BtList<BaMDGeometry*> _geometries;
  BtList<BaMDInclude*> _includes;
  std::vector<BtStr> _source_files;
  BtStr _directory;  // of the file: where the names in it start from

  BtNameMap<BodyEntry> _by_body_name;
  BtFlatMap<int, BaMDBody*> _by_body_id;
  BtNameMap<BaMDSliderGroup*> _slider_groups_by_name;
  BtNameMap<BaMDMaterial*> _materials_by_name;
  BtNameMap<BaMDVertices*> _vertex_sets_by_name;
};
