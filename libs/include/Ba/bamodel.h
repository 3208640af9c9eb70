// The character model: a tree of bodies, materials and lights, and the geometry on the bodies. Read
// from legacy text, or from a model document through BaModelData.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <unordered_map>

#include "babody.h"
#include "babone.h"
#include "baelements.h"
#include "baflexiblepolygon.h"
#include "balight.h"
#include "balightingmodel.h"
#include "bamaterial.h"
#include "bamdslidergroup.h"
#include "bamuscle.h"
#include "banamemap.h"
#include "bapolygon.h"
#include "batexturedpolygon.h"
#include "batexturedtmesh.h"
#include "batmesh.h"
#include "baunits.h"
#include "btlist.h"

template <class T, class F>
class BtSet;

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

  void read(const char* file_name);
  // `directory` is the folder that relative file names in the text start from.
  void scanFrom(std::istream& is, const BtStr& directory);
  // Reads the records behind the header of a legacy file into an empty model.
  void rawScanFrom(std::istream& is);

  // Writes the model as legacy text, always of version 1.30. Blend effects, sliders, units and
  // textures beyond the first decal have no legacy form and are left out.
  void printOn(std::ostream& os) const;

  // The content.

  // The version of the file that the model was read from, 0 for none.
  [[nodiscard]] float version() const { return _version; }
  // Indexed by body id; slots without a body are null.
  [[nodiscard]] const BtDArray<std::unique_ptr<BaBody>>& bodies() const { return _bodies; }
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

  // Building. A model is built between beginLoad(), which asserts that it is empty and makes the
  // reference body, and endLoad(). Between the two the collections grow ahead of their content.

  void beginLoad();
  // Trims the collections and links parents and children. False after a recorded error: a parent
  // that does not exist, or a body that is its own ancestor.
  bool endLoad();
  // Each takes an element and answers it. Ids and names must be set before. Asserts that an id is
  // within range and free (bodies, materials) and that the body and the material of an element
  // exist.
  BaBody* addBody(std::unique_ptr<BaBody> body);
  BaMaterial* addMaterial(std::unique_ptr<BaMaterial> material);
  BaLightingModel* addLightingModel(std::unique_ptr<BaLightingModel> lighting_model);
  BaLight* addLight(std::unique_ptr<BaLight> light);
  BaBone* addBone(std::unique_ptr<BaBone> bone);
  BaPolygon* addPolygon(std::unique_ptr<BaPolygon> polygon);
  BaTexturedPolygon* addTexturedPolygon(std::unique_ptr<BaTexturedPolygon> polygon);
  BaFlexiblePolygon* addFlexiblePolygon(std::unique_ptr<BaFlexiblePolygon> polygon);
  BaTMesh* addTMesh(std::unique_ptr<BaTMesh> mesh);
  BaTexturedTMesh* addTexturedTMesh(std::unique_ptr<BaTexturedTMesh> mesh);
  BaMuscle* addMuscle(std::unique_ptr<BaMuscle> muscle);
  BaMDSliderGroup* addSliderGroup(std::unique_ptr<BaMDSliderGroup> group);

  // Edits.

  // Deletes all bones, in the bodies as well.
  void removeBones();
  // Deletes the materials that nothing uses. With `renumber` the others get small ids in list
  // order; asserts that there are no flexible polygons then.
  void removeUnusedMaterials(bool renumber);

 private:
  // Deletes everything and forgets version, units and settings.
  void _clear();
  // Reads a document, header included already, and takes its content over.
  void _scanDocumentFrom(std::istream& is, const BtStr& directory);
  bool _linkBodies();
  [[nodiscard]] bool _checkParents() const;
  [[nodiscard]] bool _checkAncestors() const;
  void _trim();
  void _indexMaterial(BaMaterial* material);
  void _renumberMaterials();
  template <class T>
  T* _addElement(Elements<T>* elements, std::unique_ptr<T> element, int chunk);

  float _version = 0;
  volatile int _valid = 1;
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

  BaNameMap<BaBody*> _bodies_by_name;
  std::unordered_map<int, BaMaterial*> _materials_by_id;
  BaNameMap<BaMaterial*> _materials_by_name;
  BaNameMap<BaMDSliderGroup*> _slider_groups_by_name;
};

// Splits the materials of a model by whether any element or muscle uses them, in list order.
void GetUsedAndUnusedMaterials(const BaModel& model, BtList<BaMaterial*>* used,
                               BtList<BaMaterial*>* unused);
