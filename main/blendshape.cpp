#include "blendshape.h"

#include "Ba/bamdslidergroup.h"
#include "Ba/bamdvertexeffects.h"
#include "Ba/bamdvertices.h"
#include "Ba/bamodeldata.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxscene.h"

namespace {

void AddOffset(const BaMDBlendVEffects::Vector& vector, const KFbxXMatrix& to_mesh, double scale,
               std::array<double, 3>* sum) {
  const KFbxVector4 offset = to_mesh.MultR({static_cast<double>(vector.v[0]) * scale,
                                            static_cast<double>(vector.v[1]) * scale,
                                            static_cast<double>(vector.v[2]) * scale});
  for (int i = 0; i < 3; ++i) (*sum)[static_cast<std::size_t>(i)] += offset[i];
}

}  // namespace

BlendShapeBuilder::BlendShapeBuilder(KFbxScene* scene, const BaModelData& model_data,
                                     float scale_factor)
    : _scene(scene), _scale_factor(static_cast<double>(scale_factor)) {
  for (const BaMDSliderGroup* group : model_data.sliderGroups()) {
    for (const BtStr& slider : group->sliders()) {
      // Of several sliders of one name the first moves the points.
      if (_places.try_emplace({group->name(), slider}, _sliders.size()).second) {
        _sliders.push_back({group, slider});
      }
    }
  }
}

void BlendShapeBuilder::addTo(KFbxMesh* mesh, const SliderOffsets& sliders) const {
  const BaMDSliderGroup* group = nullptr;
  KFbxBlendShape* blend_shape = nullptr;
  for (const auto& [place, offsets] : sliders) {
    const Slider& slider = _sliders[place];
    if (blend_shape == nullptr || slider.group != group) {
      group = slider.group;
      blend_shape = KFbxBlendShape::Create(_scene, group->name());
      mesh->AddDeformer(blend_shape);
    }
    KFbxBlendShapeChannel* channel = KFbxBlendShapeChannel::Create(_scene, slider.name);
    channel->AddTargetShape(_createShape(slider.name, offsets));
    blend_shape->AddBlendShapeChannel(channel);
  }
}

SliderOffsets BlendShapeBuilder::collect(const MeshBodies& bodies, const Faces& faces) const {
  SliderOffsets sliders;
  if (_sliders.empty()) return sliders;
  for (const Faces::Part& part : faces.parts) {
    const KFbxXMatrix to_mesh = bodies.toMesh(static_cast<std::size_t>(part.body));
    for (const BaMDVertexEffects* effects : part.vertices->effects()) {
      const BaMDBlendVEffects* blend = effects->asBlend();
      if (blend == nullptr) continue;
      const auto slider = _places.find({blend->sliderGroup(), blend->sliderName()});
      if (slider == _places.end()) continue;
      PointOffsets& offsets = sliders[slider->second];
      for (const BaMDBlendVEffects::Vector& vector : blend->vectors()) {
        AddOffset(vector, to_mesh, _scale_factor, &offsets[part.first_point + vector.vertex - 1]);
      }
    }
  }
  return sliders;
}

KFbxShape* BlendShapeBuilder::_createShape(const BtStr& name, const PointOffsets& offsets) const {
  KFbxShape* shape = KFbxShape::Create(_scene, name);
  for (const auto& [point, offset] : offsets) {
    shape->AddOffset(point, offset[0], offset[1], offset[2]);
  }
  return shape;
}
