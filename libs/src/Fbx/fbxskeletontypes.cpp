#include "fbxskeletontypes.h"

#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxskeleton.h"

const char* FbxSkeletonTypeName(const KFbxNodeAttribute& attribute) {
  constexpr const char* kNames[] = {"Root", "Limb", "LimbNode", "Effector"};
  return kNames[static_cast<const KFbxSkeleton&>(attribute).GetSkeletonType()];
}

const char* FbxModelTypeName(const KFbxNode& node) {
  const KFbxNodeAttribute* attribute = node.GetNodeAttribute();
  if (attribute == nullptr) return "Null";
  if (attribute->GetAttributeType() == KFbxNodeAttribute::eMESH) return "Mesh";
  return FbxSkeletonTypeName(*attribute);
}
