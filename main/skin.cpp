#include "skin.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <tuple>

#include "Ba/bamdbody.h"
#include "Ba/bamdvertexeffects.h"
#include "Ba/bamdvertices.h"
#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"

namespace {

// The number of a node among those that vertices follow; a new one comes last.
int NumberOf(KFbxNode* node, std::vector<KFbxNode*>* nodes) {
  BtAssert(node != nullptr, "node");
  const auto place = static_cast<std::size_t>(node->GetListPlace());
  if (place >= nodes->size() || (*nodes)[place] != node) {
    node->SetListPlace(static_cast<int>(nodes->size()));
    nodes->push_back(node);
  }
  return node->GetListPlace();
}

// What had to be put right in the weights of one body.
struct Corrections {
  bool negative = false;
  bool above_one = false;
};

void Warn(const BaMDBody& body, const Corrections& corrections) {
  if (corrections.negative) {
    BtWarn(BtCode("weight-negative"),
           "Vertices of body \"%s\" have negative weights.  They are taken as 0.",
           static_cast<const char*>(body.name()));
  }
  if (corrections.above_one) {
    BtWarn(BtCode("weight-above-one"),
           "Vertices of body \"%s\" have weights of more than 1 in sum.  They are scaled to 1.",
           static_cast<const char*>(body.name()));
  }
}

// Appends the flex weights of one part, sorted by point and node; points count from the start of
// the mesh.
void AddFlexWeights(const KFbxScene& scene, const Faces::Part& part, SkinWeights* all) {
  const auto n_before = static_cast<std::ptrdiff_t>(all->influences.size());
  for (const BaMDVertexEffects* effects : part.vertices->effects()) {
    const BaMDFlexVEffects* flex = effects->asFlex();
    if (flex == nullptr) continue;
    const int node = NumberOf(scene.FindNodeByName(flex->bodyName()), &all->nodes);
    for (const BaMDFlexVEffects::Weight& weight : flex->weights()) {
      BtAssert(weight.vertex >= 1 && weight.vertex <= part.vertices->coordinates().size(),
               "weight.vertex<=_n_vertices");
      all->influences.push_back(
          {part.first_point + weight.vertex - 1, node, static_cast<double>(weight.weight)});
    }
  }
  std::stable_sort(all->influences.begin() + n_before, all->influences.end(),
                   [](const Influence& a, const Influence& b) {
                     return std::tie(a.point, a.node) < std::tie(b.point, b.node);
                   });
}

// Several weights of a point toward one node count as one, of which only a positive one stays.
// Answers those that stand, which come to the front.
std::span<Influence> MergeWeights(std::span<Influence> influences, Corrections* corrections) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < influences.size();) {
    Influence merged = influences[i++];
    for (; i < influences.size(); ++i) {
      const Influence& next = influences[i];
      if (next.point != merged.point || next.node != merged.node) break;
      merged.weight += next.weight;
    }
    corrections->negative |= merged.weight < 0.0;
    if (merged.weight > 0.0) influences[kept++] = merged;
  }
  return influences.first(kept);
}

// Weights written with six decimals may miss 1 by their rounding.
constexpr double kRoundingOfSum = 1e-5;

// What the flex weights of one point leave for the body that it is defined on, with those toward
// that body: flexing toward it is following it. Weights of more than 1 in sum are scaled to 1.
double OwnWeight(int own_node, std::span<Influence> flex, Corrections* corrections) {
  double sum = 0.0;
  for (const Influence& influence : flex) sum += influence.weight;
  corrections->above_one |= sum > 1.0 + kRoundingOfSum;
  const double factor = sum > 1.0 ? 1.0 / sum : 1.0;
  double own = std::max(1.0 - sum, 0.0);
  for (Influence& influence : flex) {
    influence.weight *= factor;
    if (influence.node == own_node) own += influence.weight;
  }
  return own;
}

// Adds the influences of one part to `all`: of each point its own body's and the flex weights
// toward others.
void AddPart(int first_point, int last_point, int own_node, std::span<Influence> flex,
             Corrections* corrections, std::vector<Influence>* all) {
  for (std::int32_t point = first_point; point < last_point; ++point) {
    const auto end = std::find_if(flex.begin(), flex.end(), [point](const Influence& influence) {
      return influence.point != point;
    });
    const auto of_point = flex.first(static_cast<std::size_t>(end - flex.begin()));
    flex = flex.subspan(of_point.size());
    const double own = OwnWeight(own_node, of_point, corrections);
    if (own > 0.0) all->push_back({point, own_node, own});
    std::copy_if(of_point.begin(), of_point.end(), std::back_inserter(*all),
                 [own_node](const Influence& influence) { return influence.node != own_node; });
  }
}

}  // namespace

SkinWeights CollectFlexWeights(const KFbxScene& scene, const MeshBodies& bodies,
                               const Faces& faces) {
  SkinWeights all;
  for (const Faces::Part& part : faces.parts) {
    NumberOf(bodies[static_cast<std::size_t>(part.body)].node, &all.nodes);
    AddFlexWeights(scene, part, &all);
  }
  return all;
}

void CompleteWeights(const MeshBodies& bodies, const Faces& faces, SkinWeights* weights) {
  std::vector<Influence> all;
  all.reserve(faces.pointCount());
  std::span<Influence> flex = weights->influences;
  for (std::size_t i = 0; i < faces.parts.size(); ++i) {
    const Faces::Part& part = faces.parts[i];
    const MeshBody& body = bodies[static_cast<std::size_t>(part.body)];
    const int last_point = i + 1 < faces.parts.size() ? faces.parts[i + 1].first_point
                                                      : static_cast<int>(faces.pointCount());
    const auto end = std::find_if(flex.begin(), flex.end(), [last_point](const Influence& next) {
      return next.point >= last_point;
    });
    const auto of_part = flex.first(static_cast<std::size_t>(end - flex.begin()));
    flex = flex.subspan(of_part.size());
    Corrections corrections;
    AddPart(part.first_point, last_point, NumberOf(body.node, &weights->nodes),
            MergeWeights(of_part, &corrections), &corrections, &all);
    Warn(*body.body, corrections);
  }
  weights->influences = std::move(all);
}

void AddSkin(KFbxScene* scene, KFbxMesh* mesh, KFbxNode* mesh_parent, const SkinWeights& weights) {
  const auto& [nodes, influences] = weights;
  const bool rigid = std::all_of(influences.begin(), influences.end(),
                                 [&nodes = nodes, mesh_parent](const Influence& i) {
                                   return nodes[static_cast<std::size_t>(i.node)] == mesh_parent;
                                 });
  if (rigid) return;

  KFbxSkin* skin = KFbxSkin::Create(scene, nullptr);
  std::vector<std::size_t> n_points(nodes.size());
  for (const Influence& influence : influences)
    ++n_points[static_cast<std::size_t>(influence.node)];
  std::vector<KFbxCluster*> clusters(nodes.size(), nullptr);
  for (const Influence& influence : influences) {
    const auto number = static_cast<std::size_t>(influence.node);
    KFbxCluster*& cluster = clusters[number];
    if (cluster == nullptr) {
      cluster = KFbxCluster::Create(scene, nullptr);
      cluster->GetControlPointIndices().reserve(n_points[number]);
      cluster->GetControlPointWeights().reserve(n_points[number]);
    }
    cluster->AddControlPointIndex(influence.point, influence.weight);
  }
  for (std::size_t i = 0; i < clusters.size(); ++i) {
    if (clusters[i] == nullptr) continue;
    clusters[i]->SetLink(nodes[i]);
    // The mesh's node coincides with the node that it hangs under.
    clusters[i]->SetTransformMatrix(scene->GetEvaluator()->GetNodeGlobalTransform(mesh_parent));
    clusters[i]->SetTransformLinkMatrix(scene->GetEvaluator()->GetNodeGlobalTransform(nodes[i]));
    skin->AddCluster(clusters[i]);
  }
  mesh->AddDeformer(skin);
}
