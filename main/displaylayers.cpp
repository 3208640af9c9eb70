#include "displaylayers.h"

#include <vector>

#include "Fbx/kfbxdisplaylayer.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxobject.h"
#include "Fbx/kfbxscene.h"

void AddDisplayLayers(KFbxScene* scene) {
  KFbxDisplayLayer* skeleton = KFbxDisplayLayer::Create(scene, "Skeleton");
  KFbxDisplayLayer* geometry = KFbxDisplayLayer::Create(scene, "Geometry");
  std::vector<KFbxNode*> waiting = {scene->GetRootNode()};
  while (!waiting.empty()) {
    KFbxNode* node = waiting.back();
    waiting.pop_back();
    if (const KFbxNodeAttribute* attribute = node->GetNodeAttribute()) {
      const bool is_mesh = attribute->GetAttributeType() == KFbxNodeAttribute::eMESH;
      (is_mesh ? geometry : skeleton)->AddMember(node);
    }
    for (int i = node->GetChildCount() - 1; i >= 0; --i) waiting.push_back(node->GetChild(i));
  }
  for (KFbxDisplayLayer* layer : {skeleton, geometry}) {
    if (!layer->GetMembers().empty()) scene->AddDisplayLayer(layer);
  }
}
