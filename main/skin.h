// Skin: the bodies that the vertices of a mesh follow.
#pragma once

#include <cstdint>
#include <vector>

#include "faces.h"

class KFbxMesh;
class KFbxNode;
class KFbxScene;

// One weight of one control point.
struct Influence {
  std::int32_t point;
  int node;  // its place among those that are followed
  double weight;
};

// The nodes that the points of a mesh follow, in the order in which they come up, and the weights,
// point after point.
struct SkinWeights {
  std::vector<KFbxNode*> nodes;
  std::vector<Influence> influences;
};

// The flex weights as the document has them. They are all that the skin needs of it; asserts that
// they are of vertices that there are.
SkinWeights CollectFlexWeights(const KFbxScene& scene, const MeshBodies& bodies,
                               const Faces& faces);
// Makes of collected flex weights those of all points: a vertex follows the body that it is defined
// on with what its flex weights leave of 1. Weights that cannot stand as they are (negative ones,
// sums above 1) are put right with a warning. The nodes must still have their list places.
void CompleteWeights(const MeshBodies& bodies, const Faces& faces, SkinWeights* weights);

// Binds the mesh to the nodes that its points follow, at their rest pose. A mesh of which every
// point follows only the node that it hangs under needs no skin and gets none.
void AddSkin(KFbxScene* scene, KFbxMesh* mesh, KFbxNode* mesh_parent, const SkinWeights& weights);
