#include "Ba/baposer.h"

#include <utility>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamotion.h"

namespace {

// The product of two affine matrices: their last columns are 0, 0, 0, 1.
Bt4X4DoubleMat Join(const Bt4X4DoubleMat& a, const Bt4X4DoubleMat& b) {
  Bt4X4DoubleMat product;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 3; ++column) {
      const double sum =
          a(row, 0) * b(0, column) + a(row, 1) * b(1, column) + a(row, 2) * b(2, column);
      product(row, column) = row == 3 ? sum + b(3, column) : sum;
    }
  }
  return product;
}

}  // namespace

BaPoser::BaPoser(const BaModel& model, const BaUnlockedMapping* mapping, BaVariableUnits units)
    : _units(units) {
  std::vector<std::pair<const BaBody*, int>> waiting;  // with the places of their parents
  const auto wait_for_children = [&waiting](const BaBody& body, int place) {
    for (int i = body.numChildren() - 1; i >= 0; --i) waiting.emplace_back(body.child(i), place);
  };
  if (const BaBody* reference = model.findBody(0)) wait_for_children(*reference, -1);
  while (!waiting.empty()) {
    const auto [body, parent] = waiting.back();
    waiting.pop_back();
    const auto place = static_cast<int>(_bodies.size());
    _bodies.push_back(body);
    _joints.push_back({parent, Bt4X4DoubleMat(body->transform()),
                       mapping == nullptr ? nullptr : mapping->bodyMap(body->id())});
    wait_for_children(*body, place);
  }
  _rest.resize(_bodies.size());
  for (std::size_t i = 0; i < _joints.size(); ++i) {
    const Joint& joint = _joints[i];
    _rest[i] = joint.parent < 0 ? joint.rest
                                : Join(joint.rest, _rest[static_cast<std::size_t>(joint.parent)]);
  }
}

template <class Frame>
void BaPoser::_pose(const Frame& value_of, std::span<Bt4X4DoubleMat> places) const {
  BtAssert(places.size() == _joints.size(), "places.size()==bodies().size()");
  for (std::size_t i = 0; i < _joints.size(); ++i) {
    const Joint& joint = _joints[i];
    Bt4X4DoubleMat& place = places[i];
    place = joint.rest;
    if (joint.map != nullptr) {
      BaBodyPose pose;
      for (const BaUnlockedTransform& transform : joint.map->transforms()) {
        pose[transform.id()] = transform.value(value_of);
      }
      place = Join(joint.map->matrix(pose, _units), place);
    }
    if (joint.parent >= 0) place = Join(place, places[static_cast<std::size_t>(joint.parent)]);
  }
}

void BaPoser::pose(const BaFrame& frame, std::span<Bt4X4DoubleMat> places) const {
  _pose(frame, places);
}

void BaPoser::pose(const BaMotion& motion, int frame, std::span<Bt4X4DoubleMat> places) const {
  BtAssert(frame >= 0 && frame < motion.numFrames());
  const auto at = static_cast<std::size_t>(frame);
  _pose(
      [&motion, at](int sysvar_id) {
        const std::span<const float> values = motion.values(sysvar_id);
        return values.empty() ? 0.0F : values[at];
      },
      places);
}
