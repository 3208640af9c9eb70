// The records of curves: in the newer family objects, in the older one channels of a take.
#pragma once

#include <string_view>

#include "Fbx/kfbxanimstack.h"

class FbxRecordSink;

// What files call an animated property and the curves of it.
struct FbxAnimatedProperty {
  std::string_view name;
  std::string_view curves[3];  // newer family
  std::string_view channel;    // older family; empty where it is named by its object
  std::int32_t layer_type;
};
const FbxAnimatedProperty& FbxAnimated(KFbxAnimCurveNode::EProperty property);

// What stands in the object of a curve of the newer family.
void FbxWriteCurve(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node, int i);
// The channels of a take of the older family: of one curve, and of one property of a transform.
void FbxWriteChannel(FbxRecordSink* sink, std::string_view name, const KFbxAnimCurve& curve);
void FbxWriteTransformChannel(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node);
