#include "mesh.h"

#include <utility>

#include "Ba/bamdbody.h"
#include "Ba/bamdgeometry.h"
#include "Ba/bamodeldata.h"
#include "Bt/btassert.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"
#include "accuracy.h"
#include "coincidentpoints.h"
#include "joinbodies.h"
#include "material.h"
#include "normals.h"
#include "skin.h"

namespace {

// The body's ancestor that hangs under the world.
const BaMDBody& TopOf(const BaModelData& model_data, const BaMDBody& body) {
  const BaMDBody* top = &body;
  while (!top->isTopLevel()) top = model_data.bodyByName(top->parentName());
  return *top;
}

// For each point the first at its place; nothing for one part, which has one point at each place.
std::vector<std::uint32_t> CoincidentAmongParts(const Faces& faces) {
  return faces.parts.size() > 1 ? FirstCoincident(faces.points) : std::vector<std::uint32_t>();
}

}  // namespace

bool BodyHasPolys(const BaModelData& model_data, const BaMDBody& body) {
  for (const BaMDGeometry* geo : model_data.geometriesOf(body)) {
    BtAssert(geo);
    if (geo->hasPolygons()) return true;
  }
  return false;
}

MeshBuilder::MeshBuilder(KFbxScene* scene, const BaModelData& model_data, float scale_factor,
                         SceneMaterials* materials)
    : _scene(scene),
      _model_data(model_data),
      _scale_factor(scale_factor),
      _materials(materials),
      _blend_shapes(scene, model_data, scale_factor) {}

KFbxNode* MeshBuilder::createSingleMeshGeometry(const BaMDBody& body, KFbxNode* node,
                                                bool whole_chain, BaModelData* used_up) {
  const MeshBody top = {&body, node};
  KFbxSceneEvaluator* evaluator = _scene->GetEvaluator();
  const MeshBodies bodies = whole_chain ? MeshBodies::chainBelow(evaluator, top, _model_data)
                                        : MeshBodies(evaluator, top);
  Faces faces = GatherFaces(_model_data, bodies, _scale_factor);

  KFbxNode* mesh_node = KFbxNode::Create(_scene, body.name() + "_mesh");
  KFbxMesh* mesh = KFbxMesh::Create(_scene, body.name() + "_mesh");
  mesh_node->SetNodeAttribute(mesh);
  for (const BtStr& name : faces.materials) mesh_node->AddMaterial(_materials->material(name));
  _completePoints(mesh, bodies, whole_chain, &faces, used_up);
  mesh->GetControlPoints() = std::move(faces.points);
  mesh->SetPolygons(std::move(faces.corners), std::move(faces.face_materials));
  if (!faces.corner_uvs.empty()) {
    mesh->SetUVs(SceneMaterials::kUvSet, std::move(faces.uvs), std::move(faces.corner_uvs));
  }
  return mesh_node;
}

// Gives the mesh its normals and what moves its points, and joins the bodies of a chain.
void MeshBuilder::_completePoints(KFbxMesh* mesh, const MeshBodies& bodies, bool whole_chain,
                                  Faces* faces, BaModelData* used_up) {
  const MeshBody& top = bodies.top();
  SkinWeights weights = CollectFlexWeights(*_scene, bodies, *faces);
  SliderOffsets offsets = _blend_shapes.collect(bodies, *faces);
  std::vector<double> normals;
  const bool is_smooth = _model_data.combineVertexNormals();
  if (is_smooth && !whole_chain) normals = _bodyNormals(*top.body, faces->pointCount());
  if (used_up != nullptr) used_up->clearShapes();
  CompleteWeights(bodies, *faces, &weights);
  if (!is_smooth) {
    mesh->SetNormals(KFbxMesh::eBY_POLYGON_VERTEX, FlatNormals(*faces), FacePerCorner(*faces));
  }
  if (whole_chain) {
    const std::vector<std::uint32_t> first = CoincidentAmongParts(*faces);
    if (is_smooth) normals = SmoothNormals(*faces, first);
    JoinBodies(first, {faces, &normals, &weights, &offsets});
  }
  if (is_smooth) mesh->SetNormals(KFbxMesh::eBY_CONTROL_POINT, std::move(normals));
  AddSkin(_scene, mesh, top.node, weights);
  _blend_shapes.addTo(mesh, offsets);
}

// The normals of a body that is a mesh of its own, taken from those of its whole chain: its
// neighbours count where bodies meet.
std::vector<double> MeshBuilder::_bodyNormals(const BaMDBody& body, std::size_t count) {
  if (!_chain.to_top.contains(&body)) _computeChain(TopOf(_model_data, body));
  const KFbxXMatrix& to_top = _chain.to_top.at(&body);
  const double* source = _chain.normals.data() + 3 * _chain.first_point.at(&body);
  std::vector<double> normals(3 * count);
  for (std::size_t i = 0; i < normals.size(); i += 3) {
    const KFbxVector4 normal = to_top.MultRBack({source[i], source[i + 1], source[i + 2]});
    for (int k = 0; k < 3; ++k) {
      normals[i + static_cast<std::size_t>(k)] = NormalAccuracy(normal[k]);
    }
  }
  return normals;
}

void MeshBuilder::_computeChain(const BaMDBody& top) {
  _chain = {};
  const MeshBodies bodies = MeshBodies::chainBelow(
      _scene->GetEvaluator(), {&top, _scene->FindNodeByName(top.name())}, _model_data);
  const Faces faces = GatherFaces(_model_data, bodies, _scale_factor);
  _chain.normals = SmoothNormals(faces, CoincidentAmongParts(faces));
  for (const Faces::Part& part : faces.parts) {
    const auto place = static_cast<std::size_t>(part.body);
    const BaMDBody* body = bodies[place].body;
    _chain.first_point.try_emplace(body, static_cast<std::size_t>(part.first_point));
    _chain.to_top.try_emplace(body, bodies.toMesh(place));
  }
}
