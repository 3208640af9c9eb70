#include "kfbxanimstack.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>

#include "btassert.h"
#include "kfbxdeformer.h"
#include "kfbxnode.h"

namespace {

// By property.
constexpr const char* kCurveNodeNames[] = {"T", "R", "DeformPercent"};

}  // namespace

void KFbxAnimCurve::SetKeys(KFbxKeyTimes times, std::vector<float> values) {
  BtAssert(times != nullptr && !times->empty() && times->size() == values.size());
  _times = std::move(times);
  _values = std::move(values);
  if (std::adjacent_find(_values.begin(), _values.end(), std::not_equal_to<>()) == _values.end()) {
    _values = {_values.front()};
  }
}

std::span<const KTime> KFbxAnimCurve::GetKeyTimes() const {
  if (_times == nullptr) return {};
  return std::span(*_times).first(_values.size());
}

KFbxAnimCurve* KFbxAnimCurveNode::GetCurve(int i) const {
  BtAssert(i >= 0 && i < GetCurveCount());
  return _curves[static_cast<std::size_t>(i)];
}

KFbxAnimCurveNode* KFbxAnimStack::GetCurveNode(KFbxNode* node,
                                               KFbxAnimCurveNode::EProperty property) {
  BtAssert(node && property != KFbxAnimCurveNode::eDEFORM_PERCENT);
  KFbxAnimCurveNode* curve_node = _curveNode(node, property);
  curve_node->_node = node;
  return curve_node;
}

KFbxAnimCurveNode* KFbxAnimStack::GetCurveNode(KFbxBlendShapeChannel* channel) {
  BtAssert(channel);
  KFbxAnimCurveNode* curve_node = _curveNode(channel, KFbxAnimCurveNode::eDEFORM_PERCENT);
  curve_node->_channel = channel;
  return curve_node;
}

KFbxAnimCurveNode* KFbxAnimStack::_curveNode(const KFbxObject* object,
                                             KFbxAnimCurveNode::EProperty property) {
  const auto index = static_cast<std::size_t>(property);
  KFbxAnimCurveNode*& curve_node = _of_object[object][index];
  if (curve_node != nullptr) return curve_node;
  curve_node = KFbxAnimCurveNode::Create(this, kCurveNodeNames[index]);
  curve_node->_property = property;
  for (int i = 0; i < curve_node->GetCurveCount(); ++i) {
    curve_node->_curves[static_cast<std::size_t>(i)] = KFbxAnimCurve::Create(this, "");
  }
  _curve_nodes.push_back(curve_node);
  return curve_node;
}
