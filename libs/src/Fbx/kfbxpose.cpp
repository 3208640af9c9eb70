#include "Fbx/kfbxpose.h"

#include <cstddef>

#include "Bt/btassert.h"

int KFbxPose::Add(KFbxNode* node, const KFbxXMatrix& matrix, bool local, bool multiple) {
  if (node == nullptr) return -1;
  const auto [last, is_new] = _last_of_node.try_emplace(node, GetCount());
  if (!is_new) {
    const Entry& held = _entry(last->second);
    if (held.matrix == matrix && held.local == local) return last->second;
    if (!multiple) return -1;
    last->second = GetCount();
  }
  _entries.push_back({node, matrix, local});
  return last->second;
}

const KFbxPose::Entry& KFbxPose::_entry(int i) const {
  BtAssert(i >= 0 && i < GetCount());
  return _entries[static_cast<std::size_t>(i)];
}
