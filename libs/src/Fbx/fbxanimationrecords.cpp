#include "fbxanimationrecords.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "fbxrecordsink.h"

namespace {

constexpr std::int32_t kObjectKeyVersion = 4007;
constexpr std::int32_t kChannelKeyVersion = 4005;

// All keys share their attributes: a value goes evenly to the next key. The second set of bits are
// two weights of 0.3333 that tangents would have; texts show them as one whole number.
constexpr std::int32_t kLinearFlags[] = {0x2104};
constexpr std::int32_t kAttributeBits[] = {0, 0, 0x0D050D05, 0};

// By property.
constexpr FbxAnimatedProperty kProperties[] = {
    {"Lcl Translation", {"d|X", "d|Y", "d|Z"}, "T", 1},
    {"Lcl Rotation", {"d|X", "d|Y", "d|Z"}, "R", 2},
    {"DeformPercent", {"d|DeformPercent"}, "", 0},
};

constexpr const char* kAxisNames[] = {"X", "Y", "Z"};

using KeyTimes = std::span<const std::int64_t>;

// When the keys of a curve are written. A curve that never changes has one key; but where another
// angle does change there are readers that want all three at the same times.
KeyTimes TimesOf(const KFbxAnimCurveNode& curve_node, const KFbxAnimCurve& curve) {
  KeyTimes times = curve.GetKeyTimes();
  if (curve_node.GetProperty() != KFbxAnimCurveNode::eROTATION || times.size() > 1) return times;
  for (int i = 0; i < curve_node.GetCurveCount() && times.size() == 1; ++i) {
    times = curve_node.GetCurve(i)->GetKeyTimes();
  }
  return times.size() > 1 ? times : curve.GetKeyTimes();
}

}  // namespace

const FbxAnimatedProperty& FbxAnimated(KFbxAnimCurveNode::EProperty property) {
  return kProperties[static_cast<std::size_t>(property)];
}

void FbxWriteCurve(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node, int i) {
  const KFbxAnimCurve& curve = *curve_node.GetCurve(i);
  const float first = curve.GetKeyValues().front();
  const KeyTimes times = TimesOf(curve_node, curve);
  const bool repeats = times.size() > curve.GetKeyValues().size();
  const std::vector<float> repeated(repeats ? times.size() : 0, first);
  const std::int32_t keys_of_attributes[] = {static_cast<std::int32_t>(times.size())};
  sink->leaf("Default", static_cast<double>(first));
  sink->leaf("KeyVer", kObjectKeyVersion);
  sink->leaf("KeyTime", times);
  sink->leaf("KeyValueFloat", repeats ? std::span<const float>(repeated) : curve.GetKeyValues());
  sink->leaf("KeyAttrFlags", std::span<const std::int32_t>(kLinearFlags));
  if (sink->isBinary()) {
    constexpr auto kData = std::bit_cast<std::array<float, 4>>(kAttributeBits);
    sink->leaf("KeyAttrDataFloat", std::span<const float>(kData));
  } else {
    sink->leaf("KeyAttrDataFloat", std::span<const std::int32_t>(kAttributeBits));
  }
  sink->leaf("KeyAttrRefCount", std::span<const std::int32_t>(keys_of_attributes));
}

void FbxWriteChannel(FbxRecordSink* sink, std::string_view name, const KFbxAnimCurve& curve) {
  sink->open("Channel", name);
  sink->leaf("Default", static_cast<double>(curve.GetKeyValues().front()));
  if (curve.GetKeyValues().size() > 1) {
    sink->leaf("KeyVer", kChannelKeyVersion);
    sink->leaf("KeyCount", static_cast<std::int32_t>(curve.GetKeyValues().size()));
    sink->begin("Key");
    sink->addKeys(curve.GetKeyTimes(), curve.GetKeyValues());
    sink->end();
  }
  sink->leaf("Color", 1.0, 1.0, 1.0);
  sink->end();
}

void FbxWriteTransformChannel(FbxRecordSink* sink, const KFbxAnimCurveNode& curve_node) {
  const FbxAnimatedProperty& property = FbxAnimated(curve_node.GetProperty());
  sink->open("Channel", property.channel);
  int i = 0;
  for (const char* const axis : kAxisNames) FbxWriteChannel(sink, axis, *curve_node.GetCurve(i++));
  sink->leaf("LayerType", property.layer_type);
  sink->end();
}
