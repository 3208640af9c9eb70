// KFbxScene: a tree of nodes, with poses, display layers, takes and document information. Its root
// node is no object of the file: what hangs under it stands at the top there.
#pragma once

#include <string>
#include <vector>

#include "Bt/btindextable.h"
#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxsdkmanager.h"
#include "Fbx/kfbxtime.h"

class KFbxAnimStack;
class KFbxDisplayLayer;
class KFbxDocumentInfo;
class KFbxNode;
class KFbxPose;

// Computes global transforms and keeps them until a node that they depend on changes.
class KFbxSceneEvaluator {
 public:
  // The place of a node by its own values: takes are not played, so every time gives the same
  // answer. The reference is good until the node or one above it is changed.
  const KFbxXMatrix& GetNodeGlobalTransform(KFbxNode* node, KTime time = KTIME_INFINITE);

 private:
  std::vector<KFbxNode*> _unknown;  // nodes being computed, the lowest first
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

  // In the order in which they were added. Adding null does nothing and answers false.
  bool AddDisplayLayer(KFbxDisplayLayer* layer);
  [[nodiscard]] const std::vector<KFbxDisplayLayer*>& GetDisplayLayers() const { return _layers; }

  // Takes are numbered from 0; programs show the first. Adding null does nothing and answers false.
  bool AddAnimStack(KFbxAnimStack* stack);
  [[nodiscard]] int GetAnimStackCount() const { return static_cast<int>(_anim_stacks.size()); }
  [[nodiscard]] KFbxAnimStack* GetAnimStack(int i) const;
  // By which programs number the frames of all takes. A scene with takes should state it.
  void SetFrameRate(const KFbxFrameRate& rate) { _frame_rate = rate; }
  [[nodiscard]] const KFbxFrameRate& GetFrameRate() const { return _frame_rate; }

 private:
  friend class KFbxCreated<KFbxScene>;
  friend class KFbxNode;
  KFbxScene(KFbxSdkManager* manager, const BtStr& name);
  void _indexNode(KFbxNode* node);

  KFbxNode* _root;
  KFbxDocumentInfo* _info = nullptr;
  KFbxSceneEvaluator _evaluator;
  std::vector<KFbxPose*> _poses;
  std::vector<KFbxDisplayLayer*> _layers;
  std::vector<KFbxAnimStack*> _anim_stacks;
  KFbxFrameRate _frame_rate;
  std::vector<KFbxNode*> _nodes;  // the first of each name
  BtIndexTable _nodes_by_name;    // places in _nodes
};
