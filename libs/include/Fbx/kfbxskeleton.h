// KFbxSkeleton: makes a node a bone.
#pragma once

#include "Fbx/kfbxobject.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxSkeleton : public KFbxCreated<KFbxSkeleton, KFbxNodeAttribute> {
 public:
  enum ESkeletonType { eROOT, eLIMB, eLIMB_NODE, eEFFECTOR };

  void SetSkeletonType(ESkeletonType type) { _type = type; }
  [[nodiscard]] ESkeletonType GetSkeletonType() const { return _type; }
  [[nodiscard]] EAttributeType GetAttributeType() const override { return eSKELETON; }

 private:
  friend class KFbxCreated<KFbxSkeleton, KFbxNodeAttribute>;
  using KFbxCreated::KFbxCreated;

  ESkeletonType _type = eLIMB_NODE;  // in front of what is larger: bones are many

 public:
  // How large programs draw the bone.
  KFbxProperty<double> Size{100.0};
};
