#include "Fbx/kfbxdeformer.h"

#include <cstddef>

#include "Bt/btassert.h"

void KFbxCluster::AddControlPointIndex(int index, double weight) {
  _indices.push_back(index);
  _weights.push_back(weight);
}

bool KFbxSkin::AddCluster(KFbxCluster* cluster) {
  if (cluster == nullptr) return false;
  _clusters.push_back(cluster);
  return true;
}

KFbxCluster* KFbxSkin::GetCluster(int i) const {
  BtAssert(i >= 0 && i < GetClusterCount());
  return _clusters[static_cast<std::size_t>(i)];
}

void KFbxShape::AddOffset(int index, double x, double y, double z) {
  _indices.push_back(index);
  _offsets.insert(_offsets.end(), {x, y, z});
}

bool KFbxBlendShapeChannel::AddTargetShape(KFbxShape* shape) {
  if (shape == nullptr || _shape != nullptr) return false;
  _shape = shape;
  return true;
}

bool KFbxBlendShape::AddBlendShapeChannel(KFbxBlendShapeChannel* channel) {
  if (channel == nullptr) return false;
  _channels.push_back(channel);
  return true;
}

KFbxBlendShapeChannel* KFbxBlendShape::GetBlendShapeChannel(int i) const {
  BtAssert(i >= 0 && i < GetBlendShapeChannelCount());
  return _channels[static_cast<std::size_t>(i)];
}
