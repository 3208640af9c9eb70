// KFbxDisplayLayer: nodes that programs show, hide and lock together. A node should be in one only.
#pragma once

#include <vector>

#include "Fbx/kfbxsdkmanager.h"

class KFbxNode;

class KFbxDisplayLayer : public KFbxCreated<KFbxDisplayLayer> {
 public:
  // Adding null does nothing and answers false.
  bool AddMember(KFbxNode* node) {
    if (node != nullptr) _members.push_back(node);
    return node != nullptr;
  }
  [[nodiscard]] const std::vector<KFbxNode*>& GetMembers() const { return _members; }

 private:
  friend class KFbxCreated<KFbxDisplayLayer>;
  using KFbxCreated::KFbxCreated;

  std::vector<KFbxNode*> _members;
};
