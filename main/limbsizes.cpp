#include "limbsizes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxskeleton.h"

namespace {

struct Limb {
  KFbxSkeleton* bone;
  double size;
};

// The upper one of two in the middle; 0 for none.
double Median(std::vector<double>* numbers) {
  if (numbers->empty()) return 0.0;
  const auto middle = numbers->begin() + static_cast<std::ptrdiff_t>(numbers->size() / 2);
  std::nth_element(numbers->begin(), middle, numbers->end());
  return *middle;
}

double HalfDistanceToChildren(const KFbxNode& node) {
  std::vector<double> distances;
  for (int i = 0; i < node.GetChildCount(); ++i) {
    const KFbxVector4 t = node.GetChild(i)->LclTranslation.Get();
    distances.push_back(std::sqrt(t[0] * t[0] + t[1] * t[1] + t[2] * t[2]));
  }
  return Median(&distances) / 2;
}

KFbxSkeleton* BoneOf(const KFbxNode& node) {
  return dynamic_cast<KFbxSkeleton*>(node.GetNodeAttribute());
}

}  // namespace

void SetLimbSizes(KFbxNode* root) {
  struct Waiting {
    const KFbxNode* node;
    double parent_size;
  };
  std::vector<Limb> limbs;
  std::vector<double> sizes;
  std::vector<Waiting> waiting = {{root, 0.0}};
  while (!waiting.empty()) {
    const Waiting next = waiting.back();
    waiting.pop_back();
    double size = 0.0;
    if (KFbxSkeleton* bone = BoneOf(*next.node)) {
      const bool is_last = next.node->GetChildCount() == 0;
      size = is_last ? next.parent_size : HalfDistanceToChildren(*next.node);
      limbs.push_back({bone, size});
      if (size > 0.0) sizes.push_back(size);
    }
    for (int i = next.node->GetChildCount() - 1; i >= 0; --i) {
      waiting.push_back({next.node->GetChild(i), size});
    }
  }
  constexpr double kSmallest = 0.1;
  const double smallest = kSmallest * Median(&sizes);
  if (!(smallest > 0.0) || !std::isfinite(smallest)) return;
  for (const Limb& limb : limbs) limb.bone->Size.Set(std::max(limb.size, smallest));
}
