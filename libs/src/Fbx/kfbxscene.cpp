#include "Fbx/kfbxscene.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include "Bt/btassert.h"
#include "Bt/bthash.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"

namespace {

std::size_t HashOf(const char* name) { return BtHash()(std::string_view(name)); }

auto HasName(const std::vector<KFbxNode*>& nodes, const char* name) {
  return [&nodes, name](int i) {
    return std::strcmp(nodes[static_cast<std::size_t>(i)]->GetName(), name) == 0;
  };
}

}  // namespace

const KFbxXMatrix& KFbxSceneEvaluator::GetNodeGlobalTransform(KFbxNode* node, KTime /*time*/) {
  BtAssert(node);
  for (KFbxNode* above = node; above != nullptr && !above->_global; above = above->_parent) {
    _unknown.push_back(above);
  }
  for (; !_unknown.empty(); _unknown.pop_back()) {
    KFbxNode* next = _unknown.back();
    const KFbxXMatrix local = next->LocalTransform();
    next->_global = next->_parent == nullptr ? local : *next->_parent->_global * local;
  }
  return *node->_global;
}

KFbxScene::KFbxScene(KFbxSdkManager* manager, const BtStr& name)
    : KFbxCreated(manager, name), _root(KFbxNode::Create(manager, "RootNode")) {}

KFbxNode* KFbxScene::FindNodeByName(const char* name) const {
  if (name == nullptr) return nullptr;
  const int place = _nodes_by_name.find(HashOf(name), HasName(_nodes, name));
  return place < 0 ? nullptr : _nodes[static_cast<std::size_t>(place)];
}

// Here, as nodes know nothing of the scene that finds them by their names.
KFbxNode* KFbxNode::Create(KFbxScene* scene, const BtStr& name) {
  KFbxNode* node = Create(scene->GetFbxSdkManager(), name);
  scene->_indexNode(node);
  return node;
}

void KFbxScene::_indexNode(KFbxNode* node) {
  const char* name = node->GetName();
  const int place = static_cast<int>(_nodes.size());
  if (_nodes_by_name.findOrInsert(HashOf(name), HasName(_nodes, name), place) == place) {
    _nodes.push_back(node);
  }
}

bool KFbxScene::AddPose(KFbxPose* pose) {
  if (pose == nullptr) return false;
  _poses.push_back(pose);
  return true;
}

KFbxPose* KFbxScene::GetPose(int i) const {
  BtAssert(i >= 0 && i < GetPoseCount());
  return _poses[static_cast<std::size_t>(i)];
}

bool KFbxScene::AddDisplayLayer(KFbxDisplayLayer* layer) {
  if (layer == nullptr) return false;
  _layers.push_back(layer);
  return true;
}

bool KFbxScene::AddAnimStack(KFbxAnimStack* stack) {
  if (stack == nullptr) return false;
  _anim_stacks.push_back(stack);
  return true;
}

KFbxAnimStack* KFbxScene::GetAnimStack(int i) const {
  BtAssert(i >= 0 && i < GetAnimStackCount());
  return _anim_stacks[static_cast<std::size_t>(i)];
}
