// The bodies of one mesh and their places in it.
#pragma once

#include <cstddef>
#include <vector>

#include "Fbx/kfbxmath.h"

class BaMDBody;
class BaModelData;
class KFbxNode;
class KFbxSceneEvaluator;

// A body with its node in the scene.
struct MeshBody {
  const BaMDBody* body;
  KFbxNode* node;
};

// The first one's space is that of the mesh. Bodies and nodes must stay as they are meanwhile.
class MeshBodies {
 public:
  // One body alone.
  MeshBodies(KFbxSceneEvaluator* evaluator, const MeshBody& top);
  // A body and all below it, parents first.
  static MeshBodies chainBelow(KFbxSceneEvaluator* evaluator, const MeshBody& top,
                               const BaModelData& model_data);

  // Bodies are numbered from 0.
  [[nodiscard]] std::size_t count() const { return _list.size(); }
  [[nodiscard]] const MeshBody& operator[](std::size_t i) const { return _list[i]; }
  [[nodiscard]] const MeshBody& top() const { return _list.front(); }
  // From the rest place of a body, already scaled, into the mesh's space. Made anew each time, for
  // a million matrices take more room than most of what is made with them.
  [[nodiscard]] KFbxXMatrix toMesh(std::size_t i) const;

 private:
  KFbxSceneEvaluator* _evaluator;
  KFbxXMatrix _from_world;  // into the mesh's space
  std::vector<MeshBody> _list;
};
