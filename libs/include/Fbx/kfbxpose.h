// KFbxPose: the transforms of a set of nodes at one moment, such as the one a skin was bound at.
#pragma once

#include <vector>

#include "Bt/btflatmap.h"
#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxNode;

class KFbxPose : public KFbxCreated<KFbxPose> {
 public:
  // A bind pose, or otherwise a rest pose.
  void SetIsBindPose(bool bind_pose) { _bind_pose = bind_pose; }
  [[nodiscard]] bool IsBindPose() const { return _bind_pose; }

  // Adds a node with its global matrix, or with one relative to its parent when `local` is set.
  // Answers the index of the entry, from 0: that of the earlier one where the node is held with the
  // same matrix. -1 for null, and for a node held with another matrix unless `multiple` allows a
  // second entry.
  int Add(KFbxNode* node, const KFbxXMatrix& matrix, bool local = false, bool multiple = true);

  [[nodiscard]] int GetCount() const { return static_cast<int>(_entries.size()); }
  // Entries are numbered from 0.
  [[nodiscard]] KFbxNode* GetNode(int i) const { return _entry(i).node; }
  [[nodiscard]] const KFbxXMatrix& GetMatrix(int i) const { return _entry(i).matrix; }
  [[nodiscard]] bool IsLocalMatrix(int i) const { return _entry(i).local; }

 private:
  friend class KFbxCreated<KFbxPose>;
  using KFbxCreated::KFbxCreated;

  struct Entry {
    KFbxNode* node;
    KFbxXMatrix matrix;
    bool local;
  };
  [[nodiscard]] const Entry& _entry(int i) const;

  bool _bind_pose = false;
  std::vector<Entry> _entries;
  BtFlatMap<const KFbxNode*, int> _last_of_node;  // index of each node's latest entry
};
