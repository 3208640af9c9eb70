// KFbxNodeAttribute: what a node is: a bone or a mesh. A node without one is a plain transform.
#pragma once

#include "Fbx/kfbxobject.h"

class KFbxNodeAttribute : public KFbxObject {
 public:
  enum EAttributeType { eSKELETON, eMESH };
  [[nodiscard]] virtual EAttributeType GetAttributeType() const = 0;

 protected:
  using KFbxObject::KFbxObject;
};
