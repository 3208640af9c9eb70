// KFbxScene: a tree of nodes, with poses and document information. Its root node is no object of
// the file: what hangs under it stands at the top there.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "btindextable.h"
#include "kfbxmath.h"
#include "kfbxsdkmanager.h"

class KFbxDocumentInfo;
class KFbxNode;
class KFbxPose;

// A point in time, in units of 1/46186158000 s.
using KTime = std::int64_t;
inline constexpr KTime KTIME_INFINITE = std::numeric_limits<KTime>::max();

// Computes global transforms and keeps them until a node that they depend on changes.
class KFbxSceneEvaluator {
 public:
  // Nothing in a scene is animated, so every time gives the same answer. The reference is good
  // until the node or one above it is changed.
  const KFbxXMatrix& GetNodeGlobalTransform(KFbxNode* node, KTime time = KTIME_INFINITE);
};

class KFbxScene : public KFbxCreated<KFbxScene> {
 public:
  [[nodiscard]] KFbxNode* GetRootNode() const { return _root; }
  // The first node that was made in this scene with this name, null when there is none.
  [[nodiscard]] KFbxNode* FindNodeByName(const char* name) const;

  // Null until it is set.
  void SetSceneInfo(KFbxDocumentInfo* info) { _info = info; }
  [[nodiscard]] KFbxDocumentInfo* GetSceneInfo() const { return _info; }

  [[nodiscard]] KFbxSceneEvaluator* GetEvaluator() { return &_evaluator; }

  // Poses are numbered from 0. Adding null does nothing and answers false.
  bool AddPose(KFbxPose* pose);
  [[nodiscard]] int GetPoseCount() const { return static_cast<int>(_poses.size()); }
  [[nodiscard]] KFbxPose* GetPose(int i) const;

 private:
  friend class KFbxCreated<KFbxScene>;
  friend class KFbxNode;
  KFbxScene(KFbxSdkManager* manager, const char* name);
  void _indexNode(KFbxNode* node);

  KFbxNode* _root;
  KFbxDocumentInfo* _info = nullptr;
  KFbxSceneEvaluator _evaluator;
  std::vector<KFbxPose*> _poses;
  std::vector<KFbxNode*> _nodes;  // the first of each name
  BtIndexTable _nodes_by_name;    // places in _nodes
};
