#include "blendshape.h"

#include <array>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

#include "bamdslidergroup.h"
#include "bamdvertexeffects.h"
#include "bamdvertices.h"
#include "bamodeldata.h"
#include "kfbxdeformer.h"
#include "kfbxmesh.h"
#include "kfbxscene.h"

namespace {

// Offsets in the mesh's space by control point, in ascending order as files have them.
using Offsets = std::map<std::int32_t, std::array<double, 3>>;
// A slider by its group's and its own name.
using SliderKey = std::pair<std::string, std::string>;
using SliderOffsets = std::map<SliderKey, Offsets>;

void AddOffset(const BaMDBlendVEffects::Vector& vector, const KFbxXMatrix& to_mesh, double scale,
               std::array<double, 3>* sum) {
  for (int column = 0; column < 3; ++column) {
    for (int row = 0; row < 3; ++row) {
      (*sum)[static_cast<std::size_t>(column)] +=
          static_cast<double>(vector.v[row]) * scale * to_mesh.Get(row, column);
    }
  }
}

SliderOffsets CollectOffsets(const std::vector<MeshBody>& bodies, const Faces& faces,
                             float scale_factor) {
  SliderOffsets sliders;
  for (const Faces::Part& part : faces.parts) {
    const KFbxXMatrix& to_mesh = bodies[static_cast<std::size_t>(part.body)].to_mesh;
    for (const BaMDVertexEffects* effects : part.vertices->effects()) {
      const BaMDBlendVEffects* blend = effects->asBlend();
      if (blend == nullptr) continue;
      Offsets& offsets = sliders[{std::string(blend->sliderGroup().view()),
                                  std::string(blend->sliderName().view())}];
      for (const BaMDBlendVEffects::Vector& vector : blend->vectors()) {
        AddOffset(vector, to_mesh, static_cast<double>(scale_factor),
                  &offsets[part.first_point + vector.vertex - 1]);
      }
    }
  }
  return sliders;
}

KFbxShape* CreateShape(KFbxScene* scene, const BtStr& name, const Offsets& offsets) {
  KFbxShape* shape = KFbxShape::Create(scene, name);
  for (const auto& [point, offset] : offsets) {
    shape->AddOffset(point, offset[0], offset[1], offset[2]);
  }
  return shape;
}

}  // namespace

void AddBlendShapes(KFbxScene* scene, KFbxMesh* mesh, const BaModelData& model_data,
                    const std::vector<MeshBody>& bodies, const Faces& faces, float scale_factor) {
  SliderOffsets sliders = CollectOffsets(bodies, faces, scale_factor);
  if (sliders.empty()) return;
  for (const BaMDSliderGroup* group : model_data.sliderGroups()) {
    KFbxBlendShape* blend_shape = nullptr;
    for (const BtStr& slider : group->sliders()) {
      const auto found =
          sliders.find({std::string(group->name().view()), std::string(slider.view())});
      if (found == sliders.end()) continue;
      if (blend_shape == nullptr) blend_shape = KFbxBlendShape::Create(scene, group->name());
      KFbxBlendShapeChannel* channel = KFbxBlendShapeChannel::Create(scene, slider);
      channel->AddTargetShape(CreateShape(scene, slider, found->second));
      blend_shape->AddBlendShapeChannel(channel);
      sliders.erase(found);  // a slider of the same name does not move the points once more
    }
    if (blend_shape != nullptr) mesh->AddDeformer(blend_shape);
  }
}
