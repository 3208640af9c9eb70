// What moves the points of a mesh: skins, whose clusters tie points to bones, and blend shapes,
// whose channels push points by offsets.
#pragma once

#include <cstdint>
#include <vector>

#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxNode;

class KFbxDeformer : public KFbxObject {
 public:
  enum EDeformerType { eSKIN, eBLEND_SHAPE };
  [[nodiscard]] virtual EDeformerType GetDeformerType() const = 0;

 protected:
  using KFbxObject::KFbxObject;
};

// The points that follow one bone.
class KFbxCluster : public KFbxCreated<KFbxCluster> {
 public:
  void SetLink(KFbxNode* node) { _link = node; }
  [[nodiscard]] KFbxNode* GetLink() const { return _link; }

  // Control points from 0 and their weights, 0 to 1; both arrays have the same length.
  void AddControlPointIndex(int index, double weight);
  [[nodiscard]] std::vector<std::int32_t>& GetControlPointIndices() { return _indices; }
  [[nodiscard]] const std::vector<std::int32_t>& GetControlPointIndices() const { return _indices; }
  [[nodiscard]] std::vector<double>& GetControlPointWeights() { return _weights; }
  [[nodiscard]] const std::vector<double>& GetControlPointWeights() const { return _weights; }

  // Global matrices of the mesh's node and of the bone when the mesh was bound.
  void SetTransformMatrix(const KFbxXMatrix& matrix) { _transform = matrix; }
  [[nodiscard]] const KFbxXMatrix& GetTransformMatrix() const { return _transform; }
  void SetTransformLinkMatrix(const KFbxXMatrix& matrix) { _transform_link = matrix; }
  [[nodiscard]] const KFbxXMatrix& GetTransformLinkMatrix() const { return _transform_link; }

 private:
  friend class KFbxCreated<KFbxCluster>;
  using KFbxCreated::KFbxCreated;

  KFbxNode* _link = nullptr;
  std::vector<std::int32_t> _indices;
  std::vector<double> _weights;
  KFbxXMatrix _transform;
  KFbxXMatrix _transform_link;
};

class KFbxSkin : public KFbxCreated<KFbxSkin, KFbxDeformer> {
 public:
  [[nodiscard]] EDeformerType GetDeformerType() const override { return eSKIN; }

  // Clusters are numbered from 0. Adding null does nothing and answers false.
  bool AddCluster(KFbxCluster* cluster);
  [[nodiscard]] int GetClusterCount() const { return static_cast<int>(_clusters.size()); }
  [[nodiscard]] KFbxCluster* GetCluster(int i) const;

 private:
  friend class KFbxCreated<KFbxSkin, KFbxDeformer>;
  using KFbxCreated::KFbxCreated;

  std::vector<KFbxCluster*> _clusters;
};

// The points that move in a blend shape and how far.
class KFbxShape : public KFbxCreated<KFbxShape> {
 public:
  // Control points from 0, and for each the offset from its rest position: x y z after each other,
  // in the space of the mesh.
  void AddOffset(int index, double x, double y, double z);
  [[nodiscard]] std::vector<std::int32_t>& GetControlPointIndices() { return _indices; }
  [[nodiscard]] const std::vector<std::int32_t>& GetControlPointIndices() const { return _indices; }
  [[nodiscard]] std::vector<double>& GetOffsets() { return _offsets; }
  [[nodiscard]] const std::vector<double>& GetOffsets() const { return _offsets; }

 private:
  friend class KFbxCreated<KFbxShape>;
  using KFbxCreated::KFbxCreated;

  std::vector<std::int32_t> _indices;
  std::vector<double> _offsets;
};

// A slider from 0 to 100 percent and the shape that it reaches at 100.
class KFbxBlendShapeChannel : public KFbxCreated<KFbxBlendShapeChannel> {
 public:
  KFbxProperty<double> DeformPercent;

  // A channel holds one shape: false for null and for a second one.
  bool AddTargetShape(KFbxShape* shape);
  // Null until it is added.
  [[nodiscard]] KFbxShape* GetTargetShape() const { return _shape; }

 private:
  friend class KFbxCreated<KFbxBlendShapeChannel>;
  using KFbxCreated::KFbxCreated;

  KFbxShape* _shape = nullptr;
};

class KFbxBlendShape : public KFbxCreated<KFbxBlendShape, KFbxDeformer> {
 public:
  [[nodiscard]] EDeformerType GetDeformerType() const override { return eBLEND_SHAPE; }

  // Channels are numbered from 0. Adding null does nothing and answers false.
  bool AddBlendShapeChannel(KFbxBlendShapeChannel* channel);
  [[nodiscard]] int GetBlendShapeChannelCount() const { return static_cast<int>(_channels.size()); }
  [[nodiscard]] KFbxBlendShapeChannel* GetBlendShapeChannel(int i) const;

 private:
  friend class KFbxCreated<KFbxBlendShape, KFbxDeformer>;
  using KFbxCreated::KFbxCreated;

  std::vector<KFbxBlendShapeChannel*> _channels;
};
