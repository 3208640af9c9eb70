// Animation: takes, and the curves that move nodes and blend shapes in them.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "btflatmap.h"
#include "kfbxsdkmanager.h"
#include "kfbxtime.h"

class KFbxBlendShapeChannel;
class KFbxNode;

// The times of keys, ascending. Curves that have keys at the same times share one list.
using KFbxKeyTimes = std::shared_ptr<const std::vector<KTime>>;

// One number over time, as keys; between two keys it changes evenly.
class KFbxAnimCurve : public KFbxCreated<KFbxAnimCurve> {
 public:
  // A value for each time, one at least. Where they are all the same the first key is all that is
  // kept.
  void SetKeys(KFbxKeyTimes times, std::vector<float> values);
  // Empty before keys are set.
  [[nodiscard]] std::span<const KTime> GetKeyTimes() const;
  [[nodiscard]] std::span<const float> GetKeyValues() const { return _values; }

 private:
  friend class KFbxCreated<KFbxAnimCurve>;
  using KFbxCreated::KFbxCreated;

  KFbxKeyTimes _times;
  std::vector<float> _values;
};

// The curves of one property of one object.
class KFbxAnimCurveNode : public KFbxCreated<KFbxAnimCurveNode> {
 public:
  enum EProperty {
    eTRANSLATION,    // a node's LclTranslation: a curve for each axis
    eROTATION,       // a node's LclRotation: degrees, which may go on beyond a full turn
    eDEFORM_PERCENT  // a channel's DeformPercent: one curve
  };

  [[nodiscard]] EProperty GetProperty() const { return _property; }
  // What the property belongs to; null for one of the other kind.
  [[nodiscard]] KFbxNode* GetNode() const { return _node; }
  [[nodiscard]] KFbxBlendShapeChannel* GetChannel() const { return _channel; }

  [[nodiscard]] int GetCurveCount() const { return _property == eDEFORM_PERCENT ? 1 : 3; }
  // Curves are numbered from 0, as the axes are. They are there from the start, without keys.
  [[nodiscard]] KFbxAnimCurve* GetCurve(int i) const;

 private:
  friend class KFbxCreated<KFbxAnimCurveNode>;
  friend class KFbxAnimStack;
  using KFbxCreated::KFbxCreated;

  EProperty _property = eTRANSLATION;
  KFbxNode* _node = nullptr;
  KFbxBlendShapeChannel* _channel = nullptr;
  std::array<KFbxAnimCurve*, 3> _curves{};
};

// A take: an animation of the scene with a name and times of its own. What it has no curves for
// stays as the scene has it. Files hold its curves in one layer.
class KFbxAnimStack : public KFbxCreated<KFbxAnimStack> {
 public:
  // When it begins and ends.
  KFbxProperty<KTime> LocalStart;
  KFbxProperty<KTime> LocalStop;

  // The curves of a node's translation or rotation, or of a channel's percentage, in this take:
  // new ones at the first call, then the same.
  KFbxAnimCurveNode* GetCurveNode(KFbxNode* node, KFbxAnimCurveNode::EProperty property);
  KFbxAnimCurveNode* GetCurveNode(KFbxBlendShapeChannel* channel);
  // All of them, in the order in which they were made.
  [[nodiscard]] std::span<KFbxAnimCurveNode* const> GetCurveNodes() const { return _curve_nodes; }

 private:
  friend class KFbxCreated<KFbxAnimStack>;
  using KFbxCreated::KFbxCreated;

  KFbxAnimCurveNode* _curveNode(const KFbxObject* object, KFbxAnimCurveNode::EProperty property);

  std::vector<KFbxAnimCurveNode*> _curve_nodes;
  // By the object, for each property of it.
  BtFlatMap<const KFbxObject*, std::array<KFbxAnimCurveNode*, 3>> _of_object;
};
