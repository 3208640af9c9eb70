// The records of curves: in the newer family objects, in the older one channels of a take.
#pragma once

#include <array>
#include <string_view>

#include "kfbxanimstack.h"

class FbxRecordSink;

// What files call an animated property and the curves of it.
struct FbxAnimatedProperty {
  std::string_view name;
  std::array<std::string_view, 3> curves;  // newer family
  std::string_view channel;                // older family; empty where it is named by its object
  std::int32_t layer_type;
};
const FbxAnimatedProperty& FbxAnimated(KFbxAnimCurveNode::EProperty property);

// What stands in the object of a curve of the newer family.
void FbxWriteCurve(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node, int i);
// The channels of a take of the older family: of one curve, and of one property of a transform.
void FbxWriteChannel(FbxRecordSink* sink, std::string_view name, const KFbxAnimCurve& curve);
void FbxWriteTransformChannel(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node);
