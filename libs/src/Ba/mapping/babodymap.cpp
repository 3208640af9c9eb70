#include "Ba/babodymap.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace {

// The rows of a matrix whose first transforms are there already: what the next one does about and
// along their axes.
void MoveAlong(std::size_t axis, double distance, double (*rows)[3]) {
  for (std::size_t c = 0; c < 3; ++c) rows[3][c] += distance * rows[axis][c];
}

void TurnAbout(std::size_t axis, double angle, double (*rows)[3]) {
  const double sine = std::sin(angle);
  const double cosine = std::cos(angle);
  double* const from = rows[(axis + 1) % 3];
  double* const to = rows[(axis + 2) % 3];
  for (std::size_t c = 0; c < 3; ++c) {
    const double turned = cosine * from[c] + sine * to[c];
    to[c] = cosine * to[c] - sine * from[c];
    from[c] = turned;
  }
}

// The answer for transforms that a body does not have, indexed by transform id minus 1.
const BaUnlockedTransform& AbsentTransform(int id) {
  static const BaUnlockedTransform absent[kBaTransformCount] = {
      {Ba_Transform::Translation, BtAxis_t::X}, {Ba_Transform::Translation, BtAxis_t::Y},
      {Ba_Transform::Translation, BtAxis_t::Z}, {Ba_Transform::Rotation, BtAxis_t::X},
      {Ba_Transform::Rotation, BtAxis_t::Y},    {Ba_Transform::Rotation, BtAxis_t::Z}};
  return absent[id - 1];
}

// Stores the numbers of three axes, or of as many as there are, and answers how many those are.
int StoreAxes(std::string_view letters, int* axes) {
  for (const char letter : letters.substr(0, 3)) *axes++ = letter - 'X' + 1;
  return static_cast<int>(letters.size());
}

}  // namespace

double& BaBodyPose::operator[](int transform_id) {
  BtAssert(transform_id >= 1 && transform_id <= kBaTransformCount, "id>=1 && id<=6");
  const auto place = static_cast<std::size_t>(transform_id - 1);
  return place < 3 ? translation[place] : rotation[place - 3];
}

double BaBodyPose::operator[](int transform_id) const {
  BaBodyPose copy = *this;
  return copy[transform_id];
}

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

std::string BaUnlockedBodyMap::rotationLetters() const {
  std::string letters;
  for (const BaUnlockedTransform& transform : _transforms) {
    if (!transform.isRotation()) continue;
    letters += static_cast<char>('X' + static_cast<int>(transform.axis()));
  }
  return letters;
}

void BaUnlockedBodyMap::getRotOrder(BtArray<int>* order) const {
  const BtArray<int>* order_ptr = order;
  BtAssert(order_ptr->size() == 3, "order_ptr->size()==3");
  const int x = StoreAxes(rotationLetters(), order->begin());
  BtAssert(x == 3, "x==3");
}

void BaUnlockedBodyMap::getAngleSequence(int (*sequence)[3]) const {
  const int seqnum = StoreAxes(rotationLetters(), *sequence);
  BtAssert(seqnum == 3, "seqnum==3");
}

void BaUnlockedBodyMap::getAngleSequence(BtArray<int>* sequence) const {
  BtAssert(sequence->size() == 3, "sequence->size()==3");
  const int seqnum = StoreAxes(rotationLetters(), sequence->begin());
  BtAssert(seqnum == 3, "seqnum==3");
}

BaBodyPose BaUnlockedBodyMap::pose(const BaFrame& frame) const {
  BaBodyPose pose;
  for (const BaUnlockedTransform& transform : _transforms) {
    pose[transform.id()] = transform.value(frame);
  }
  return pose;
}

Bt4X4DoubleMat BaUnlockedBodyMap::matrix(const BaBodyPose& pose, BaVariableUnits units) const {
  double rows[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
  for (const BaUnlockedTransform& transform : _transforms) {
    const auto axis = static_cast<std::size_t>(transform.axis());
    if (transform.isRotation()) {
      TurnAbout(axis, pose.rotation[axis] * units.angle, rows);
    } else {
      MoveAlong(axis, pose.translation[axis] * units.length, rows);
    }
  }
  Bt4X4DoubleMat matrix;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 3; ++column) matrix(row, column) = rows[row][column];
  }
  return matrix;
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
