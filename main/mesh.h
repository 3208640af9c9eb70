// Meshes of the scene: of one body, or of a body and everything below it.
#pragma once

#include <vector>

#include "Bt/bthash.h"
#include "blendshape.h"
#include "faces.h"

class BaMDBody;
class BaModelData;
class KFbxMesh;
class KFbxNode;
class KFbxScene;
class SceneMaterials;

// Whether any geometry of the body holds polygons.
bool BodyHasPolys(const BaModelData& model_data, const BaMDBody& body);

// Builds the mesh nodes of one scene. The skeleton nodes must stand already: a mesh takes the rest
// transforms of its bodies from them, so that mesh, skeleton and bind pose agree to the last bit.
class MeshBuilder {
 public:
  MeshBuilder(KFbxScene* scene, const BaModelData& model_data, float scale_factor,
              SceneMaterials* materials);

  // A new node, named after the body with "_mesh" appended, for the caller to hang under `node`,
  // the body's own. It carries the geometry of the body alone, or of the body and all its
  // descendants when `whole_chain` is set, in the space of `node`.
  // The shapes of `used_up`, which is the document or null, go as soon as the faces stand.
  KFbxNode* createSingleMeshGeometry(const BaMDBody& body, KFbxNode* node, bool whole_chain,
                                     BaModelData* used_up = nullptr);

 private:
  // The normals of a whole chain, and where each of its bodies finds its own.
  struct Chain {
    std::vector<double> normals;  // x y z per control point, in the top body's space
    BtHashMap<const BaMDBody*, std::size_t> first_point;
    BtHashMap<const BaMDBody*, KFbxXMatrix> to_top;
  };

  void _completePoints(KFbxMesh* mesh, const MeshBodies& bodies, bool whole_chain, Faces* faces,
                       BaModelData* used_up);
  std::vector<double> _bodyNormals(const BaMDBody& body, std::size_t count);
  void _computeChain(const BaMDBody& top);

  KFbxScene* _scene;
  const BaModelData& _model_data;
  float _scale_factor;
  SceneMaterials* _materials;
  BlendShapeBuilder _blend_shapes;
  Chain _chain;  // computed last: bodies of one chain come one after the other
};
