#include "Ba/babodymapattribute.h"

namespace {

// Indexed by transform id minus 1.
constexpr const char* kTransformNames[kBaTransformCount] = {
    "xTranslation", "yTranslation", "zTranslation", "xRotation", "yRotation", "zRotation"};

const BaUnlockedTransform& TransformOf(const BaUnlockedBodyMap& body_map, int transform_id) {
  BtAxis_t axis = {};
  int kind = 0;
  GetTransformIdAxisType(transform_id, &axis, &kind);
  return body_map.getTransform(axis, kind);
}

}  // namespace

BaBodyMapAttribute::BaBodyMapAttribute(const BaUnlockedBodyMap& body_map, int transform_id)
    : _body_id(body_map.bodyId()), _transform(TransformOf(body_map, transform_id)) {}

BtStr BaBodyMapAttribute::name() const {
  return BtFormat("body%d.%s", _body_id, kTransformNames[_transform.id() - 1]);
}

bool BaBodyMapAttribute::hasNumericType() const {
  return _transform.exists() && !_transform.isCombination() && _transform.sysVarId() > 0;
}

float BaBodyMapAttribute::getNumericValue(const BtArray<float>& frame) const {
  return static_cast<float>(_transform.value([&frame](int id) { return frame[id - 1]; }));
}

void BaBodyMapAttribute::setNumericValue(BtArray<float>* frame, float value) const {
  BtAssert(hasNumericType());
  (*frame)[_transform.sysVarId() - 1] = value;
}
