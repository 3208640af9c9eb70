// KFbxNode: one transform in the tree of a scene, with the bone or mesh that it carries and the
// materials of that mesh.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "Bt/bthash.h"
#include "Bt/btrare.h"
#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxobject.h"

class KFbxMesh;
class KFbxNode;
class KFbxScene;
class KFbxSurfacePhong;

// A part of a node's local transform: three numbers, by axis.
class KFbxTransformProperty {
 public:
  KFbxTransformProperty(KFbxNode* node, const KFbxVector4& value)
      : _node(node), _value{value[0], value[1], value[2]} {}
  void Set(const KFbxVector4& value);
  [[nodiscard]] KFbxVector4 Get() const { return {_value[0], _value[1], _value[2]}; }

 private:
  KFbxNode* _node;
  std::array<double, 3> _value;  // without a fourth, for nodes are many
};

// A property that no program needs, for people and scripts to read.
struct KFbxUserProperty {
  using Value = std::variant<std::int32_t, double, BtStr>;
  BtStr name;
  Value value;
};

class KFbxNode : public KFbxObject {
 public:
  using ERotationOrder = EFbxRotationOrder;
  // Nodes keep one set of pivots, the source.
  enum EPivotSet { eSOURCE_SET };

  static KFbxNode* Create(KFbxSdkManager* manager, const BtStr& name);
  // A node that the scene finds by its name.
  static KFbxNode* Create(KFbxScene* scene, const BtStr& name);

  // The local transform: translation * pre-rotation * rotation * scaling, the last applied first.
  // Angles are in degrees, indexed by axis.
  KFbxTransformProperty LclTranslation{this, KFbxVector4(0, 0, 0)};
  KFbxTransformProperty LclRotation{this, KFbxVector4(0, 0, 0)};
  KFbxTransformProperty LclScaling{this, KFbxVector4(1, 1, 1)};

  // While this is off, readers ignore the pre-rotation and take the rotation order to be XYZ.
  void SetRotationActive(bool active);
  [[nodiscard]] bool GetRotationActive() const { return _rotation_active; }
  void SetRotationOrder(EPivotSet set, ERotationOrder order);
  [[nodiscard]] ERotationOrder GetRotationOrder(EPivotSet /*set*/) const { return _rotation_order; }
  // In degrees, always combined in the order XYZ.
  void SetPreRotation(EPivotSet set, const KFbxVector4& degrees);
  [[nodiscard]] KFbxVector4 GetPreRotation(EPivotSet /*set*/) const { return _pre_rotation.Get(); }
  // The local transform that the values above make.
  [[nodiscard]] KFbxXMatrix LocalTransform() const;

  // Null for a plain transform.
  void SetNodeAttribute(KFbxNodeAttribute* attribute) { _attribute = attribute; }
  [[nodiscard]] KFbxNodeAttribute* GetNodeAttribute() const { return _attribute; }
  // The attribute where it is a mesh, otherwise null.
  [[nodiscard]] KFbxMesh* GetMesh() const;

  // Makes the node the last child, taking it from an earlier parent. False, and nothing is changed,
  // for null and for a node that this one is or hangs under.
  bool AddChild(KFbxNode* child);
  [[nodiscard]] KFbxNode* GetParent() const { return _parent; }
  [[nodiscard]] int GetChildCount() const { return static_cast<int>(_children.size()); }
  // Children are numbered from 0.
  [[nodiscard]] KFbxNode* GetChild(int i) const;

  // The index, from 0, by which polygons name the material: a new one at its first call, then the
  // same.
  int AddMaterial(KFbxSurfacePhong* material);
  [[nodiscard]] int GetMaterialCount() const { return static_cast<int>(_rare->materials.size()); }
  [[nodiscard]] KFbxSurfacePhong* GetMaterial(int i) const;

  // Gives a user property its value; a new name comes last.
  void SetUserProperty(const BtStr& name, const KFbxUserProperty::Value& value);
  [[nodiscard]] const std::vector<KFbxUserProperty>& GetUserProperties() const {
    return _rare->user_properties;
  }

  // Where a list has the node, for whoever makes one: the node is in the list if it stands there,
  // which is found out quicker than in a table. One list at a time.
  void SetListPlace(int place) { _list_place = place; }
  [[nodiscard]] int GetListPlace() const { return _list_place; }

 private:
  friend class KFbxScene;
  friend class KFbxSceneEvaluator;
  friend class KFbxTransformProperty;
  using KFbxObject::KFbxObject;

  // What few nodes have.
  struct Rare {
    std::vector<KFbxSurfacePhong*> materials;
    BtHashMap<const KFbxSurfacePhong*, int> material_index;
    std::vector<KFbxUserProperty> user_properties;
  };
  // Forgets the global transforms of this node and everything below it.
  void _forgetGlobal();

  KFbxNodeAttribute* _attribute = nullptr;
  KFbxNode* _parent = nullptr;
  std::vector<KFbxNode*> _children;
  BtRare<Rare> _rare;
  KFbxTransformProperty _pre_rotation{this, KFbxVector4(0, 0, 0)};
  ERotationOrder _rotation_order = eEULER_XYZ;
  bool _rotation_active = false;
  int _list_place = -1;
  // Computed by the evaluator; present only where the parent's is.
  std::optional<KFbxXMatrix> _global;
};
