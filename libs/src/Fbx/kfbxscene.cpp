#include "kfbxscene.h"

#include <cstddef>

#include "btassert.h"
#include "kfbxnode.h"
#include "kfbxpose.h"

const KFbxXMatrix& KFbxSceneEvaluator::GetNodeGlobalTransform(KFbxNode* node, KTime /*time*/) {
  BtAssert(node);
  std::vector<KFbxNode*> unknown;
  for (KFbxNode* above = node; above != nullptr && !above->_global; above = above->_parent) {
    unknown.push_back(above);
  }
  for (; !unknown.empty(); unknown.pop_back()) {
    KFbxNode* next = unknown.back();
    const KFbxXMatrix local = next->LocalTransform();
    next->_global = next->_parent == nullptr ? local : *next->_parent->_global * local;
  }
  return *node->_global;
}

KFbxScene::KFbxScene(KFbxSdkManager* manager, const char* name)
    : KFbxCreated(manager, name), _root(KFbxNode::Create(manager, "RootNode")) {}

KFbxNode* KFbxScene::FindNodeByName(const char* name) const {
  if (name == nullptr) return nullptr;
  const auto found = _nodes_by_name.find(name);
  return found == _nodes_by_name.end() ? nullptr : found->second;
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
