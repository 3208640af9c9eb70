#include "babodymap.h"

#include <utility>

namespace {

// The answer for transforms that a body does not have, indexed by transform id minus 1.
const BaUnlockedTransform& AbsentTransform(int id) {
  static const BaUnlockedTransform absent[kBaTransformCount] = {
      {Ba_Transform::Translation, BtAxis_t::X}, {Ba_Transform::Translation, BtAxis_t::Y},
      {Ba_Transform::Translation, BtAxis_t::Z}, {Ba_Transform::Rotation, BtAxis_t::X},
      {Ba_Transform::Rotation, BtAxis_t::Y},    {Ba_Transform::Rotation, BtAxis_t::Z}};
  return absent[id - 1];
}

// Stores the rotation axes of a body map in order and answers how many rotations there are, of
// which the first three are stored.
int StoreRotations(const BaUnlockedTransformList& transforms, int* axes) {
  int count = 0;
  for (const BaUnlockedTransform& transform : transforms) {
    if (!transform.isRotation()) continue;
    if (count < 3) axes[count] = static_cast<int>(transform.axis()) + 1;
    ++count;
  }
  return count;
}

}  // namespace

bool ValidOrder(const BtList<int>& order) {
  bool seen[kBaTransformCount + 1] = {};
  for (const int id : order) {
    if (id < 1 || id > kBaTransformCount || seen[id]) return false;
    seen[id] = true;
  }
  return true;
}

BaUnlockedBodyMap::BaUnlockedBodyMap(int body_id, const BtList<int>& order,
                                     const BtList<int>& sysvar_ids) {
  _setBodyId(body_id);
  set(order, sysvar_ids);
}

void BaUnlockedBodyMap::_setBodyId(int body_id) {
  BtAssert(body_id >= 1, "body_id>=1");
  _body_id.change(body_id);
}

void BaUnlockedBodyMap::set(const BtList<int>& order, const BtList<int>& sysvar_ids) {
  BtAssert(ValidOrder(order));
  BaUnlockedTransformList transforms(order.count());
  int position = 0;
  for (const int order_i : order) {
    BtAssert(sysvar_ids[order_i - 1] >= 0);
    transforms[position++] = BaUnlockedTransform(order_i, sysvar_ids[order_i - 1]);
  }
  _transforms = std::move(transforms);
}

const BaUnlockedTransform& BaUnlockedBodyMap::_transform(int id) const {
  const BaUnlockedTransform* found = FindTransform(_transforms, id);
  return found == nullptr ? AbsentTransform(id) : *found;
}

const BaUnlockedTransform& BaUnlockedBodyMap::getTransform(BtAxis_t axis, int type) const {
  BtAssert(type == kBaTranslationKind || type == kBaRotationKind, "type==1 || type==2");
  return _transform(static_cast<int>(axis) + (type == kBaRotationKind ? kBaFirstRotationId : 1));
}

void BaUnlockedBodyMap::setTransform(int id, const BaUnlockedTransform& transform) {
  BtAssert(transform.exists() && transform.id() == id, "transform.id()==id");
  bool replaced = false;
  for (BaUnlockedTransform& own : _transforms) {
    if (own.id() != id) continue;
    own = transform;
    replaced = true;
  }
  if (!replaced) _transforms.append(transform);
}

void BaUnlockedBodyMap::getRotOrder(BtArray<int>* order) const {
  const BtArray<int>* order_ptr = order;
  BtAssert(order_ptr->size() == 3, "order_ptr->size()==3");
  const int x = StoreRotations(_transforms, order->begin());
  BtAssert(x == 3, "x==3");
}

void BaUnlockedBodyMap::getAngleSequence(int (*sequence)[3]) const {
  const int seqnum = StoreRotations(_transforms, *sequence);
  BtAssert(seqnum == 3, "seqnum==3");
}

void BaUnlockedBodyMap::getAngleSequence(BtArray<int>* sequence) const {
  BtAssert(sequence->size() == 3, "sequence->size()==3");
  const int seqnum = StoreRotations(_transforms, sequence->begin());
  BtAssert(seqnum == 3, "seqnum==3");
}

void BaUnlockedBodyMap::getSysVarTransforms(BtList<Ba_Transform*>* transforms, int var_id) {
  BtAssert(var_id > 0, "var_id>0");
  for (BaUnlockedTransform& transform : _transforms) {
    if (transform.usesSysVarId(var_id)) transforms->append(&transform);
  }
}

bool BaUnlockedBodyMap::usesSysVarId(int var_id) const {
  for (const BaUnlockedTransform& transform : _transforms) {
    if (transform.usesSysVarId(var_id)) return true;
  }
  return false;
}

void BaUnlockedBodyMap::renumberSysVarIds(const BtArray<int>& new_ids) {
  for (BaUnlockedTransform& transform : _transforms) {
    transform.renumberSysVarIds([&new_ids](int id) { return new_ids[id]; });
  }
}

void BaUnlockedBodyMap::offsetSysVarIds(int offset) {
  for (BaUnlockedTransform& transform : _transforms) {
    transform.renumberSysVarIds([offset](int id) {
      const long long sum = static_cast<long long>(id) + offset;
      BtAssert(std::in_range<int>(sum), "id<=INT_MAX-offset");
      return static_cast<int>(sum);
    });
  }
}
