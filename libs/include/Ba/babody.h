// The bodies of a model: rigid segments that form a tree and carry the geometry.
#pragma once

#include <iosfwd>
#include <span>
#include <vector>

#include "Ba/baelements.h"
#include "Ba/bakey.h"
#include "Bt/btcoordsys.h"
#include "Bt/btfloatmat.h"
#include "Bt/btstr.h"

class BaBone;
class BaFlexiblePolygon;
class BaPolygon;
class BaTMesh;
class BaTexturedPolygon;
class BaTexturedTMesh;
class BtScanner;

// A segment: its name, its place in the tree and its transform. Parents and children are linked by
// the model; none of them is owned.
class BaBodyObj {
 public:
  static constexpr int kNoParent = -1;

  virtual ~BaBodyObj() = default;
  BaBodyObj(const BaBodyObj&) = delete;
  BaBodyObj& operator=(const BaBodyObj&) = delete;

  [[nodiscard]] virtual const BtStr& name() const { return _name.get(); }
  // kNoParent for none; bodies of a model that have none hang under its reference body, of id 0.
  [[nodiscard]] virtual int parentId() const { return _parent_id; }
  [[nodiscard]] virtual int id() const { return _id.get(); }
  // The system of the body as its parent sees it.
  virtual void getTransformation(BtCoordSystem* coord_system) const;
  [[nodiscard]] virtual float postScaleFactor() const { return _post_scale_factor; }
  // Null before linking and for a body at the top.
  [[nodiscard]] virtual BaBodyObj* parent() const { return _parent; }
  [[nodiscard]] virtual int numChildren() const { return static_cast<int>(_children.size()); }
  // Children count from 0, in link order.
  [[nodiscard]] virtual BaBodyObj* child(int i) const;

  // The transform: rows 0 to 2 are the body's axes, row 3 is its origin, as the parent sees them.
  [[nodiscard]] const Bt4X4FloatMat& transform() const { return _transform; }
  void setTransform(const Bt4X4FloatMat& transform) { _transform = transform; }
  // For a body that no model owns; one in a model is renamed and renumbered by the model.
  void setName(const BtStr& name) { _name.set(name); }
  void setId(int id) { _id.set(id); }
  void setParentId(int id) { _parent_id = id; }
  // Asserts that the factor is above 0.
  void setPostScaleFactor(float psf);

  // Linking. The two directions are set one by one, the ids are not touched.
  void setParent(BaBodyObj* parent) { _parent = parent; }
  void appendChild(BaBodyObj* child) { _children.push_back(child); }
  // Adds children, given in ascending order of their ids, to children in that order.
  void insertChildren(std::span<BaBodyObj* const> children);
  // Asserts that `child` is among the children.
  void removeChild(BaBodyObj* child);
  void clearChildren() { _children.clear(); }
  // Puts the children in ascending order of their ids.
  void sortChildren();
  // True when `body` is found by going up from this one; a body does not descend from itself.
  [[nodiscard]] bool isDescendantOf(const BaBodyObj* body) const;

  // For developers: name, ids and links in words.
  void debugPrintOn(std::ostream& os) const;

 protected:
  BaBodyObj() = default;

 private:
  friend class BaModel;  // finds its bodies by these

  BaKey<BtStr> _name;
  BaKey<int> _id{-1};
  int _parent_id = kNoParent;
  Bt4X4FloatMat _transform;
  BaBodyObj* _parent = nullptr;
  std::vector<BaBodyObj*> _children;
  float _post_scale_factor = 1.0F;
};

// A body of a model, with the elements that belong to it. The model owns the elements.
class BaBody : public BaBodyObj {
 public:
  BaBody() = default;
  ~BaBody() override { _valid = 0; }
  [[nodiscard]] BaBody* parent() const override {
    return static_cast<BaBody*>(BaBodyObj::parent());
  }
  [[nodiscard]] BaBody* child(int i) const override {
    return static_cast<BaBody*>(BaBodyObj::child(i));
  }

  [[nodiscard]] const BaElements<BaBone*>& bones() const { return _bones; }
  [[nodiscard]] const BaElements<BaPolygon*>& polygons() const { return _polygons; }
  [[nodiscard]] const BaElements<BaTexturedPolygon*>& texturedPolygons() const {
    return _textured_polygons;
  }
  [[nodiscard]] const BaElements<BaFlexiblePolygon*>& flexiblePolygons() const {
    return _flexible_polygons;
  }
  [[nodiscard]] const BaElements<BaTMesh*>& tMeshes() const { return _t_meshes; }
  [[nodiscard]] const BaElements<BaTexturedTMesh*>& texturedTMeshes() const {
    return _textured_t_meshes;
  }
  // True when the body has polygons or triangle meshes with or without texture.
  [[nodiscard]] bool hasPolygons() const;

  // Elements are added between these two; the lists grow ahead meanwhile.
  void preAddElements() const;
  void postAddElements();
  void add(BaBone* bone) { _bones.add(bone, kChunk); }
  void add(BaPolygon* polygon) { _polygons.add(polygon, kChunk); }
  void add(BaTexturedPolygon* polygon) { _textured_polygons.add(polygon, kChunk); }
  void add(BaFlexiblePolygon* polygon) { _flexible_polygons.add(polygon, kChunk); }
  void add(BaTMesh* mesh) { _t_meshes.add(mesh, kChunk); }
  void add(BaTexturedTMesh* mesh) { _textured_t_meshes.add(mesh, kChunk); }
  // Forgets the bones, which the caller deletes.
  void removeBones() { _bones.clear(); }
  // Forgets the polygons and strips, with and without texture, which the caller deletes.
  void removePolygons() {
    _polygons.clear();
    _textured_polygons.clear();
    _t_meshes.clear();
    _textured_t_meshes.clear();
  }
  // Forgets the flexible polygons for which `is_gone(polygon)` holds, which the caller deletes.
  template <class IsGone>
  void removeFlexiblePolygons(IsGone is_gone) {
    _flexible_polygons.removeIf(is_gone);
  }

  // Reads what follows the record letter; false after a recorded error.
  bool scanFrom(std::istream& is);
  bool scanFrom(BtScanner& in);
  void printOn(std::ostream& os) const;
  [[nodiscard]] bool isValid() const { return _valid == 1; }

 private:
  // As many as the smallest piece of memory has room for: bodies are many, and trimming must not
  // leave a gap behind each.
  static constexpr int kChunk = 3;

  BaElements<BaBone*> _bones;
  BaElements<BaPolygon*> _polygons;
  BaElements<BaTexturedPolygon*> _textured_polygons;
  BaElements<BaFlexiblePolygon*> _flexible_polygons;
  BaElements<BaTMesh*> _t_meshes;
  BaElements<BaTexturedTMesh*> _textured_t_meshes;
  volatile int _valid = 1;
};
