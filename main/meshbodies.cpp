#include "meshbodies.h"

#include "Ba/bamodeldata.h"
#include "Bt/btassert.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"

MeshBodies::MeshBodies(KFbxSceneEvaluator* evaluator, const MeshBody& top)
    : _evaluator(evaluator),
      _from_world(evaluator->GetNodeGlobalTransform(top.node).Inverse()),
      _list{top} {}

MeshBodies MeshBodies::chainBelow(KFbxSceneEvaluator* evaluator, const MeshBody& top,
                                  const BaModelData& model_data) {
  MeshBodies chain(evaluator, top);
  chain._list.clear();
  std::vector<MeshBody> waiting = {top};
  while (!waiting.empty()) {
    const MeshBody next = waiting.back();
    waiting.pop_back();
    chain._list.push_back(next);
    // The nodes of its children are the first that hang under its own, in their order.
    const std::vector<BaMDBody*>& children = model_data.childBodies(*next.body);
    for (int i = static_cast<int>(children.size()) - 1; i >= 0; --i) {
      waiting.push_back({children[static_cast<std::size_t>(i)], next.node->GetChild(i)});
    }
  }
  return chain;
}

// Of the top exactly the identity, which no product with an inverse is sure to be.
KFbxXMatrix MeshBodies::toMesh(std::size_t i) const {
  BtAssert(i < count());
  if (i == 0) return {};
  return _from_world * _evaluator->GetNodeGlobalTransform(_list[i].node);
}
