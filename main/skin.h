// Skin: the bodies that the vertices of a mesh follow.
#pragma once

#include <vector>

#include "faces.h"

class KFbxMesh;
class KFbxNode;
class KFbxScene;

// Binds the mesh to the nodes that its vertices follow, at their rest pose. A vertex follows the
// body that it is defined on with what its flex weights leave of 1. A mesh of which every vertex
// follows only the node that it hangs under needs no skin and gets none. Weights that cannot stand
// as they are (negative ones, sums above 1) are put right with a warning.
void AddSkin(KFbxScene* scene, KFbxMesh* mesh, KFbxNode* mesh_parent,
             const std::vector<MeshBody>& bodies, const Faces& faces);
