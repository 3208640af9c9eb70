// Blend shapes: the sliders that move the vertices of a mesh.
#pragma once

#include <vector>

#include "faces.h"

class BaModelData;
class KFbxMesh;
class KFbxScene;

// Adds a deformer per slider group and in it a channel with one target per slider, in the
// document's order. Groups and sliders that move no vertex of this mesh are left out.
void AddBlendShapes(KFbxScene* scene, KFbxMesh* mesh, const BaModelData& model_data,
                    const std::vector<MeshBody>& bodies, const Faces& faces, float scale_factor);
