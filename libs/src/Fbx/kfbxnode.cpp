#include "Fbx/kfbxnode.h"

#include <algorithm>

#include "Bt/btassert.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxsdkmanager.h"

void KFbxTransformProperty::Set(const KFbxVector4& value) {
  _value = {value[0], value[1], value[2]};
  _node->_forgetGlobal();
}

KFbxNode* KFbxNode::Create(KFbxSdkManager* manager, const BtStr& name) {
  return manager->Make<KFbxNode>([&](void* room) { return ::new (room) KFbxNode(manager, name); });
}

void KFbxNode::SetRotationActive(bool active) {
  _rotation_active = active;
  _forgetGlobal();
}

void KFbxNode::SetRotationOrder(EPivotSet /*set*/, ERotationOrder order) {
  _rotation_order = order;
  _forgetGlobal();
}

void KFbxNode::SetPreRotation(EPivotSet /*set*/, const KFbxVector4& degrees) {
  _pre_rotation.Set(degrees);
}

KFbxXMatrix KFbxNode::LocalTransform() const {
  const KFbxXMatrix scaling = KFbxXMatrix::Scaling(LclScaling.Get());
  const KFbxXMatrix translation = KFbxXMatrix::Translation(LclTranslation.Get());
  if (!_rotation_active) {
    return translation * KFbxXMatrix::Rotation(LclRotation.Get()) * scaling;
  }
  return translation * KFbxXMatrix::Rotation(_pre_rotation.Get()) *
         KFbxXMatrix::Rotation(LclRotation.Get(), _rotation_order) * scaling;
}

KFbxMesh* KFbxNode::GetMesh() const {
  const bool is_mesh =
      _attribute != nullptr && _attribute->GetAttributeType() == KFbxNodeAttribute::eMESH;
  return is_mesh ? static_cast<KFbxMesh*>(_attribute) : nullptr;
}

bool KFbxNode::AddChild(KFbxNode* child) {
  if (child == nullptr || child == this) return false;
  // A node without children has nothing below it; this spares most calls the way up.
  if (!child->_children.empty()) {
    for (const KFbxNode* node = _parent; node != nullptr; node = node->_parent) {
      if (node == child) return false;
    }
  }
  if (child->_parent != nullptr) std::erase(child->_parent->_children, child);
  child->_forgetGlobal();
  child->_parent = this;
  _children.push_back(child);
  return true;
}

KFbxNode* KFbxNode::GetChild(int i) const {
  BtAssert(i >= 0 && i < GetChildCount());
  return _children[static_cast<std::size_t>(i)];
}

int KFbxNode::AddMaterial(KFbxSurfacePhong* material) {
  BtAssert(material);
  Rare& rare = _rare.change();
  const auto [found, is_new] = rare.material_index.emplace(material, GetMaterialCount());
  if (is_new) rare.materials.push_back(material);
  return found->second;
}

KFbxSurfacePhong* KFbxNode::GetMaterial(int i) const {
  BtAssert(i >= 0 && i < GetMaterialCount());
  return _rare->materials[static_cast<std::size_t>(i)];
}

void KFbxNode::SetUserProperty(const BtStr& name, const KFbxUserProperty::Value& value) {
  std::vector<KFbxUserProperty>& properties = _rare.change().user_properties;
  const auto held = std::find_if(properties.begin(), properties.end(),
                                 [&name](const auto& property) { return property.name == name; });
  if (held == properties.end()) {
    properties.push_back({name, value});
  } else {
    held->value = value;
  }
}

void KFbxNode::_forgetGlobal() {
  // Nothing below a node without a global transform has one.
  if (!_global) return;
  std::vector<KFbxNode*> waiting = {this};
  while (!waiting.empty()) {
    KFbxNode* node = waiting.back();
    waiting.pop_back();
    node->_global.reset();
    for (KFbxNode* child : node->_children) {
      if (child->_global) waiting.push_back(child);
    }
  }
}
