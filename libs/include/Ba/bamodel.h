// The character model: a tree of bodies, materials and lights, and the geometry on the bodies. Read
// from legacy text, or from a model document through BaModelData.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <utility>
#include <vector>

#include "Ba/babody.h"
#include "Ba/babone.h"
#include "Ba/baelements.h"
#include "Ba/baflexiblepolygon.h"
#include "Ba/balight.h"
#include "Ba/balightingmodel.h"
#include "Ba/bamaterial.h"
#include "Ba/bamdslidergroup.h"
#include "Ba/bamuscle.h"
#include "Ba/bapolygon.h"
#include "Ba/batexturedpolygon.h"
#include "Ba/batexturedtmesh.h"
#include "Ba/batmesh.h"
#include "Bt/btarena.h"
#include "Bt/btflatmap.h"
#include "Bt/bthash.h"
#include "Bt/btlist.h"
#include "Bt/btmap.h"
#include "Bt/btstr.h"

class Bt_GeoObj;
template <class T, class F>
class BtSet;

// The unit in which lengths or angles are given: values times `factor` are in the named unit,
// "INCHES" or "METERS", "RADIANS" or "DEGREES".
struct BaUnits {
  BtStr name;
  float factor = 1.0F;

  friend bool operator==(const BaUnits& a, const BaUnits& b) = default;
};

// Owns all of its elements. Bodies stand in a table by their ids, from 1; slot 0 holds the
// reference body, under which the bodies at the top hang. Elements refer to bodies and materials by
// id.
class BaModel {
 public:
  template <class T>
  using Elements = BaElements<std::unique_ptr<T>>;

  // The highest body id: the body table has a slot for every id below the highest one used.
  static constexpr int kMaxBodyId = 4194303;
  static constexpr const char* kReferenceBodyName = "ReferenceSystemZero";

  BaModel();
  ~BaModel();
  BaModel(const BaModel&) = delete;
  BaModel& operator=(const BaModel&) = delete;
  [[nodiscard]] bool isValid() const { return _valid == 1; }

  // Reading. All replace the content; after a recorded error the model is empty.

  // A file that cannot be opened leaves the model as it was.
  void read(const char* file_name);
  // `directory` is the folder that relative file names in the text start from.
  void scanFrom(std::istream& is, const BtStr& directory);
  // Reads the records behind the header of a legacy file into an empty model.
  void rawScanFrom(std::istream& is);

  // Writes the model as legacy text, always of version 1.30. Blend effects, sliders, units and
  // textures beyond the first decal have no legacy form and are left out. Post scale factors have a
  // form in no text: unless an error stands, a warning names the bodies that have one.
  void printOn(std::ostream& os) const;
  // The files that were read last for this model, by the names that they were opened by: its own,
  // and what that includes, each as often as it was read. After a failure, those up to it.
  [[nodiscard]] const std::vector<BtStr>& sourceFiles() const { return _source_files; }
  // Saves the model as a document, never as legacy text. Asserts that no error stands; errors are
  // recorded, and so is a warning about what has no form in a document.
  void save(const char* file_name) const;

  // The content.

  // The version of the file that the model was read from, 0 for none.
  [[nodiscard]] float version() const { return _version; }
  // Indexed by body id; slots without a body are null.
  [[nodiscard]] const BtDArray<std::unique_ptr<BaBody>>& bodies() const { return _bodies; }
  // How many of these there are.
  [[nodiscard]] int numBodies() const { return _n_bodies; }
  [[nodiscard]] const BtList<std::unique_ptr<BaLightingModel>>& lightingModels() const {
    return _lighting_models;
  }
  [[nodiscard]] const BtList<std::unique_ptr<BaLight>>& lights() const { return _lights; }
  [[nodiscard]] const BtList<std::unique_ptr<BaMaterial>>& materials() const { return _materials; }
  [[nodiscard]] const Elements<BaPolygon>& polygons() const { return _polygons; }
  [[nodiscard]] const Elements<BaBone>& bones() const { return _bones; }
  [[nodiscard]] const Elements<BaTexturedPolygon>& texturedPolygons() const {
    return _textured_polygons;
  }
  [[nodiscard]] const Elements<BaFlexiblePolygon>& flexiblePolygons() const {
    return _flexible_polygons;
  }
  [[nodiscard]] const Elements<BaTMesh>& tMeshes() const { return _t_meshes; }
  [[nodiscard]] const Elements<BaTexturedTMesh>& texturedTMeshes() const {
    return _textured_t_meshes;
  }
  [[nodiscard]] const BtList<std::unique_ptr<BaMuscle>>& muscles() const { return _muscles; }
  [[nodiscard]] const BtList<std::unique_ptr<BaMDSliderGroup>>& sliderGroups() const {
    return _slider_groups;
  }
  [[nodiscard]] const BaUnits& lengthUnits() const { return _length_units; }
  [[nodiscard]] const BaUnits& angleUnits() const { return _angle_units; }
  void setLengthUnits(const BaUnits& units) { _length_units = units; }
  void setAngleUnits(const BaUnits& units) { _angle_units = units; }
  // True when a mesh should share one normal among the polygons around a vertex.
  [[nodiscard]] bool combineVertexNormals() const { return _combine_vertex_normals; }
  void setCombineVertexNormals(bool combine) { _combine_vertex_normals = combine; }

  // Lookups, in constant time: null for what is not there. Of several with one name the body of the
  // lowest id, the material that was added first.

  [[nodiscard]] BaBody* findBody(int id) const;
  [[nodiscard]] BaBody* findBody(const BtStr& name) const;
  [[nodiscard]] BaMaterial* materialById(int id) const;
  [[nodiscard]] BaMaterial* materialByName(const char* name) const;
  [[nodiscard]] BaMDSliderGroup* findSliderGroup(const BtStr& name) const;

  // Questions. Each adds to what the target holds already.

  // The names of all bodies but the reference body.
  void getBodyNames(BtSet<BtStr, std::less<BtStr>>* names) const;
  // The bodies without children, depth first from the reference body.
  void getEndBodies(BtList<BaBody*>* bodies) const;
  // The materials that the elements of a body use, each once, in first-use order.
  void getUsedMaterials(BtList<BaMaterial*>* materials, int body_id) const;
  // The picture files of the materials, in material order.
  void getTextureFileNames(BtList<BtStr>* names) const;
  // All vertices of the model, in the order in which the writer has their elements.
  void getVertices(BtDArray<BaVertex*>* vertices) const;

  // Loading. A model is loaded between beginLoad(), which asserts that it is empty and makes the
  // reference body, and endLoad(). Between the two the collections grow ahead of their content, and
  // edits are assertion failures.

  void beginLoad();
  // Trims the collections and links parents and children. False after a recorded error: a parent
  // that does not exist, or a body that is its own ancestor; the model is of no use then.
  bool endLoad();
  [[nodiscard]] bool isLoading() const { return _loading; }
  // Where elements that are about to be loaded may place their arrays, for as long as the model has
  // its content.
  BtArena* arena() { return &_arena; }
  // Takes a body, a material, a light, a lighting model, a muscle, a slider group or an element of
  // any kind, and answers it. Ids and names must be set before. Asserts isLoading(), that an id is
  // within range and free (bodies, materials) and that the body and the material of an element
  // exist.
  template <class T>
  T* load(std::unique_ptr<T> object) {
    BtAssert(_loading, "isLoading()");
    BtAssert(object != nullptr, "object");
    return _take(std::move(object));
  }

  // Edits, of a model that was read or that endLoad() was called for; of an empty model as well,
  // to which adding a body adds the reference body. Each leaves a model that passes
  // checkInvariants(). What they take is copied. Misuse is an assertion failure, and so is an edit
  // of a model that is being loaded.

  // Adds name, id, parent id, transform and post scale factor of a body, without elements, links or
  // children. A parent id of -1 hangs it under the reference body. Asserts that the id is free and
  // within range, that no body has the name and that the parent exists; a body whose name
  // or id is taken is shown on standard error first.
  BaBody* addBody(const BaBody& c_body);
  // Adds a body and a shape for it; see addBody() and addBodyTMeshes().
  BaBody* createBody(int id, int parent_id, const char* name, const Bt4X4FloatMat& transform,
                     int material_id, const Bt_GeoObj& geometry);
  // Id and name must be new.
  BaMaterial* addMaterial(const BaMaterial& material);
  // The id must be new among the lights, or among the lighting models.
  BaLight* addLight(const BaLight& light);
  BaLightingModel* addLightingModel(const BaLightingModel& lighting_model);
  // Body and material of an element must exist, and so must the bodies that its vertices follow and
  // the sliders that move them. Neighbours in a polygon must stand at two places.
  BaBone* addBone(const BaBone& bone);
  BaPolygon* addBodyPolygon(int body_id, const BaPolygon& polygon);
  BaTexturedPolygon* addBodyTexturedPolygon(int body_id, const BaTexturedPolygon& polygon);
  BaTMesh* addBodyTMesh(int body_id, const BaTMesh& t_mesh);
  BaTexturedTMesh* addBodyTexturedTMesh(int body_id, const BaTexturedTMesh& t_mesh);
  // The other body must exist, too.
  BaFlexiblePolygon* addBodyFlexiblePolygon(int body_id, const BaFlexiblePolygon& polygon);
  // Adds a triangle mesh for every strip of a shape that stands in the system of the body.
  void addBodyTMeshes(int body_id, int material_id, const Bt_GeoObj& geometry);
  // Adds slider groups. The sliders of a group whose name the model has already go to that group,
  // where they are not there yet.
  void addSliderGroups(const BtList<BaMDSliderGroup*>& groups);
  BaMuscle* addMuscle(const BaMuscle& muscle);

  // Give a body, a material or a slider group of the model another name, which nothing of its kind
  // may have yet. The reference body keeps its name; blend effects follow their slider group.
  void renameBody(BaBody* body, const BtStr& name);
  void renameMaterial(BaMaterial* material, const BtStr& name);
  void renameSliderGroup(BaMDSliderGroup* group, const BtStr& name);
  // Gives a material another id, which must be new. What uses the material follows.
  void changeMaterialId(BaMaterial* material, int new_id);
  // Gives a body another id. Everything that refers to the body follows: its elements, its
  // children, flex2 effects, flexible polygons, muscles. A reference to a body that does not exist
  // stays one. A mapping is to be told with BaUnlockedMapping::changeBodyId(). The reference body
  // keeps its id. This walks the whole model: changeBodyIds() is for many bodies.
  void changeBodyId(BaBody* body, int new_id);
  void changeBodyId(int old_id, int new_id);
  // Gives many bodies other ids at once, from old id to new id, in the way of changeBodyId();
  // bodies may take each other's ids. In the end no two bodies may have one id.
  void changeBodyIds(const BtMap<int, int>& new_ids);
  // Two bodies trade their ids, in the way of changeBodyId(): parents, children, shapes and weights
  // stay with the body.
  void swapBodyIds(int id1, int id2);
  // Deletes a body as one takes a joint out of a character. Its elements go, and the flexible
  // polygons that have it on either side. Its children go to its parent and stay where they are in
  // the world at rest. The weight with which vertices follow it goes to its parent; at the top,
  // where the parent is the world, or where it would come back to the vertex's own body, it falls
  // to the vertex's own body. Muscles run past it; one that ran over nothing else goes. Where a
  // child would come to stand beyond the range of floats, an error is recorded and the model stays
  // as it is.
  bool removeBody(BaBody* body);
  // Cuts the polygons of a body, textured or not, into triangles in the sense of the polygon;
  // concave ones too. Corners keep their effects and texture coordinates, triangles the material
  // and the S flag. The first triangle takes the polygon's place, the others are added behind.
  // Triangles with two corners at one place are left out; a polygon that consists of such stays as
  // it is. Asserts that every polygon has three corners at least.
  void triangulateBody(BaBody* body);

  // Deletes all bones, in the bodies as well.
  void removeBones();
  // Deletes all polygons and strips, with and without texture, in the bodies as well. Flexible
  // polygons stay.
  void removePolygons();
  // Deletes the materials that nothing uses. With `renumber` the others get small ids in list
  // order; asserts that there are no flexible polygons then.
  void removeUnusedMaterials(bool renumber);

  // True when the model holds together: ids and the table, parents and children, the element lists
  // of the bodies against those of the model, what elements and effects refer to, parallel arrays,
  // lookups. Otherwise `fault`, unless it is null, says what is wrong. It walks the whole model,
  // each part once, and changes nothing; models that are being loaded do not pass.
  bool checkInvariants(BtStr* fault) const;

 private:
  friend class Ba_ModelChecker;
  friend class Ba_PolygonRemover;
  friend class BaModelData;  // which empties a model that it failed to extract to

  // What adds to the model, both for loading and for edits.
  BaBody* _take(std::unique_ptr<BaBody> body);
  BaMaterial* _take(std::unique_ptr<BaMaterial> material);
  BaLightingModel* _take(std::unique_ptr<BaLightingModel> lighting_model);
  BaLight* _take(std::unique_ptr<BaLight> light);
  BaBone* _take(std::unique_ptr<BaBone> bone);
  BaPolygon* _take(std::unique_ptr<BaPolygon> polygon);
  BaTexturedPolygon* _take(std::unique_ptr<BaTexturedPolygon> polygon);
  BaFlexiblePolygon* _take(std::unique_ptr<BaFlexiblePolygon> polygon);
  BaTMesh* _take(std::unique_ptr<BaTMesh> mesh);
  BaTexturedTMesh* _take(std::unique_ptr<BaTexturedTMesh> mesh);
  BaMuscle* _take(std::unique_ptr<BaMuscle> muscle);
  BaMDSliderGroup* _take(std::unique_ptr<BaMDSliderGroup> group);
  void _addReferenceBody();
  // Asserts that the model may be edited.
  void _assertEditable() const;

  // Deletes everything and forgets version, units and settings.
  void _clear();
  // Reads either form of text. `file_name` is the file that the text comes from, null for none.
  void _scanFrom(std::istream& is, const BtStr& directory, const char* file_name);
  // Reads a document, header included already, and takes its content over.
  void _scanDocumentFrom(std::istream& is, const BtStr& directory, const char* file_name);
  bool _linkBodies();
  [[nodiscard]] bool _checkParents() const;
  [[nodiscard]] bool _checkAncestors() const;
  void _trim();
  void _growBodyTable(int id);
  void _indexBody(BaBody* body);
  // For a name that a body had.
  void _unindexBody(const BaBody* body, const BtStr& name);
  void _linkBody(BaBody* body);
  void _moveBodies(const BtMap<int, int>& new_ids);
  void _renumberBodyReferences(const BtHashMap<int, int>& new_ids);
  void _removeElementsOf(BaBody* body);
  void _removeReferencesTo(const BaBody& body);
  void _moveChildrenUp(BaBody* body);
  void _indexMaterial(BaMaterial* material);
  void _indexMaterials();
  void _changeMaterialIds(const BtHashMap<int, int>& new_ids);
  void _renumberMaterials();
  template <class T>
  T* _addElement(Elements<T>* elements, std::unique_ptr<T> element, int chunk);

  std::vector<BtStr> _source_files;
  float _version = 0;
  volatile int _valid = 1;
  bool _loading = false;
  BtArena _arena;  // goes after everything that has arrays in it
  BtDArray<std::unique_ptr<BaBody>> _bodies;
  BtList<std::unique_ptr<BaLightingModel>> _lighting_models;
  BtList<std::unique_ptr<BaLight>> _lights;
  BtList<std::unique_ptr<BaMaterial>> _materials;
  Elements<BaPolygon> _polygons;
  Elements<BaBone> _bones;
  Elements<BaTexturedPolygon> _textured_polygons;
  Elements<BaFlexiblePolygon> _flexible_polygons;
  Elements<BaTMesh> _t_meshes;
  Elements<BaTexturedTMesh> _textured_t_meshes;
  BtList<std::unique_ptr<BaMuscle>> _muscles;
  BtList<std::unique_ptr<BaMDSliderGroup>> _slider_groups;
  BaUnits _length_units;
  BaUnits _angle_units;
  bool _combine_vertex_normals = true;

  int _n_bodies = 0;
  BtNameMap<BaBody*> _bodies_by_name;
  BtHashMap<int, BaMaterial*> _materials_by_id;
  const BaMaterial* _last_material = nullptr;  // of the element added last, if it is there still
  BtNameMap<BaMaterial*> _materials_by_name;
  BtNameMap<BaMDSliderGroup*> _slider_groups_by_name;
};

// Splits the materials of a model by whether any element or muscle uses them, in list order.
void GetUsedAndUnusedMaterials(const BaModel& model, BtList<BaMaterial*>* used,
                               BtList<BaMaterial*>* unused);
