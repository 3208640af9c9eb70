// The rules of "check" about where joints are: at the ends of bones, in numbers that mean
// something.
#include <algorithm>
#include <cmath>
#include <limits>

#include "Ba/babone.h"
#include "Ba/bamodeldatapolyset.h"
#include "checkrules.h"
#include "style.h"

namespace {

constexpr double kOffBone = 0.1;   // of the usual length of bones, between an end and a joint
constexpr float kFarthest = 1e9F;  // in any unit of lengths

Spot TranslationSpot() { return {false, "TRANSLATION"}; }

std::array<float, 3> JointIn(const BaBody& body) {
  const Bt4X4FloatMat& transform = body.transform();
  return {transform(3, 0), transform(3, 1), transform(3, 2)};
}

double Between(const std::array<float, 3>& a, const std::array<float, 3>& b) {
  Point gap = {};
  for (std::size_t c = 0; c < 3; ++c) {
    gap[c] = static_cast<double>(a[c]) - static_cast<double>(b[c]);
  }
  return Length(gap);
}

double UsualLength(const BaModel& model) {
  std::vector<double> lengths;
  for (const auto& bone : model.bones()) lengths.push_back(Between(bone->from(), bone->to()));
  if (lengths.empty()) return 0;
  const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
  std::nth_element(lengths.begin(), middle, lengths.end());
  return *middle;
}

// How the bones of bodies and their children fit.
struct BoneFits {
  struct Miss {
    const BaBody* child;
    double distance;  // to the nearest end that leads nowhere
  };
  int matched = 0;
  std::vector<Miss> missed;
};

// Children that no bone leads to, where a bone leads to no child.
void AddChildren(const BaBody& body, double tolerance, BoneFits* fits) {
  std::vector<const BaBody*> children;
  children.reserve(static_cast<std::size_t>(body.numChildren()));
  for (int i = 0; i < body.numChildren(); ++i) children.push_back(body.child(i));
  std::vector<const BaBone*> ends(body.bones().begin(), body.bones().end());
  const auto is_at = [tolerance](const BaBone* bone, const BaBody* child) {
    return Between(bone->to(), JointIn(*child)) <= tolerance;
  };
  const std::vector<const BaBone*> all = ends;
  std::erase_if(ends, [&](const BaBone* bone) {
    return std::ranges::any_of(children, [&](const BaBody* child) { return is_at(bone, child); });
  });
  std::erase_if(children, [&](const BaBody* child) {
    return std::ranges::any_of(all, [&](const BaBone* bone) { return is_at(bone, child); });
  });
  fits->matched += static_cast<int>(all.size()) - static_cast<int>(ends.size());
  if (ends.empty()) return;
  for (const BaBody* child : children) {
    double nearest = std::numeric_limits<double>::infinity();
    for (const BaBone* bone : ends)
      nearest = std::min(nearest, Between(bone->to(), JointIn(*child)));
    fits->missed.push_back({child, nearest});
  }
}

// Where most bones lead from joint to joint, one that does not was left behind.
void CheckBones(const CheckInput& input, Findings* findings) {
  constexpr int kMostParts = 200;  // of a body: all are compared with all
  const double usual = UsualLength(input.model);
  if (usual == 0) return;
  BoneFits fits;
  for (const BaBody* body : input.bodies) {
    const auto parts = body->bones().size() + body->numChildren();
    if (parts <= kMostParts) AddChildren(*body, kOffBone * usual, &fits);
  }
  if (fits.matched < 4 * static_cast<int>(fits.missed.size())) return;
  for (const auto& [child, distance] : fits.missed) {
    findings->add(
        Kind("joint-off-bone"), PlaceOf(*child),
        "that of " + Text(child->parent()->name()) + " ends " + Short(distance) + " from it", 1,
        TranslationSpot());
  }
}

bool IsOdd(float number) {
  return std::fabs(number) >= kFarthest || std::fpclassify(number) == FP_SUBNORMAL;
}

void CheckNumbers(const CheckInput& input, Findings* findings) {
  for (const BaBody* body : input.bodies) {
    const auto joint = JointIn(*body);
    if (const auto* const odd = std::ranges::find_if(joint, IsOdd); odd != joint.end()) {
      findings->add(Kind("number-odd"), PlaceOf(*body),
                    "its translation has " + Short(static_cast<double>(*odd)), 1,
                    TranslationSpot());
    }
    const BaModelData_PolySet set(body);
    for (const BaMDPoint& p : set.vertices()) {
      const std::array<float, 3> vertex = {p.x, p.y, p.z};
      const auto* const odd = std::ranges::find_if(vertex, IsOdd);
      if (odd == vertex.end()) continue;
      findings->add(Kind("number-odd"), PlaceOf(*body),
                    "a vertex has " + Short(static_cast<double>(*odd)), 1, {false, {}, {}, vertex});
      break;
    }
  }
}

constexpr CheckRule kJointRules[] = {CheckBones, CheckNumbers};

}  // namespace

std::span<const CheckRule> JointRules() { return kJointRules; }
