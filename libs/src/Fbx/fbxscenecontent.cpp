#include "fbxscenecontent.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>
#include <utility>
#include <variant>

#include "Bt/btexcept.h"
#include "Fbx/kfbxdisplaylayer.h"
#include "Fbx/kfbxiosettings.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxproperties.h"

namespace {

// Ids count up from here. Readers keep 0 for the root; a distance from small numbers tells ids from
// indices when a file is looked at.
constexpr std::int64_t kFirstId = 1000000;

template <class T>
int LastIndex(const std::vector<T>& list) {
  return static_cast<int>(list.size()) - 1;
}

template <class T>
auto& At(std::vector<T>& list, int i) {
  return list[static_cast<std::size_t>(i)];
}

bool Fail(const KFbxObject& object, const char* what) {
  return BtFail("Unable to write \"%s\": %s.", object.GetName(), what);
}

bool FailNumbers(const KFbxNode& node) {
  return BtFail(BtCode("number-out-of-range"),
                "Unable to write \"%s\": its transform is not finite.", node.GetName());
}

bool IsFinite(const KFbxXMatrix& matrix) {
  const auto& values = matrix.Values();
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

bool AreIndices(std::span<const std::int32_t> indices, int count) {
  return std::all_of(indices.begin(), indices.end(),
                     [count](std::int32_t index) { return index >= 0 && index < count; });
}

template <class T>
bool AreFinite(const std::vector<T>& values) {
  return std::all_of(values.begin(), values.end(), [](T v) { return std::isfinite(v); });
}

// What is wrong with a curve; null for nothing.
const char* FaultOf(const KFbxAnimCurve& curve) {
  const std::span<const KTime> times = curve.GetKeyTimes();
  const std::span<const float> values = curve.GetKeyValues();
  if (times.empty()) return "a curve has no keys";
  // Most curves share their times, which are then looked at for each; values take longer to write.
  const auto later = std::adjacent_find(times.begin(), times.end(), std::greater_equal<>());
  if (later != times.end()) return "the keys of a curve are not in the order of time";
  const bool finite =
      std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
  return finite ? nullptr : "a key is not finite";
}

// Names for the channels of a mesh. Their percentages are properties by their names, which nodes
// and meshes must not have already: a reader would take the one for the other.
FbxUniqueNames ChannelNames() {
  FbxUniqueNames names;
  for (const auto& table : {FbxNodeProperties(), FbxMeshProperties()}) {
    for (const FbxPropertyRow& row : table) (void)names.make(std::string(row.name));
  }
  return names;
}

// Gives each entry of a list a name of its own.
template <class T>
void MakeUnique(std::vector<T>* list, FbxUniqueNames* names) {
  for (const T& entry : *list) names->reserve(entry.name);
  for (T& entry : *list) entry.name = names->make(entry.name);
}

template <class T>
void MakeUnique(std::vector<T>* list) {
  FbxUniqueNames names;
  names.makeRoom(list->size());
  for (const T& entry : *list) names.reserve(entry.name);
  if (names.count() < list->size()) MakeUnique(list, &names);
}

// Gives each entry of a list the next id.
template <class T>
void Number(std::vector<T>* list, std::int64_t* id) {
  for (T& entry : *list) entry.id = (*id)++;
}

// The same for a take and what it consists of.
void NumberStack(FbxSceneContent::AnimStack* stack, std::int64_t* id) {
  stack->id = (*id)++;
  stack->layer_id = (*id)++;
  Number(&stack->curve_nodes, id);
  for (auto& entry : stack->curve_nodes) {
    const auto count = static_cast<std::size_t>(entry.curve_node->GetCurveCount());
    for (std::size_t i = 0; i < count; ++i) entry.curve_ids[i] = (*id)++;
  }
}

}  // namespace

const KFbxMesh* FbxSceneContent::Attribute::mesh() const {
  const bool is_mesh = attribute->GetAttributeType() == KFbxNodeAttribute::eMESH;
  return is_mesh ? static_cast<const KFbxMesh*>(attribute) : nullptr;
}

const KFbxSkeleton* FbxSceneContent::Attribute::skeleton() const {
  const bool is_skeleton = attribute->GetAttributeType() == KFbxNodeAttribute::eSKELETON;
  return is_skeleton ? static_cast<const KFbxSkeleton*>(attribute) : nullptr;
}

// Nodes and attributes know their places, which is quicker than looking for them among very many.
int FbxSceneContent::modelOf(const KFbxNode* node) const {
  if (node == nullptr) return kNone;
  const auto place = static_cast<std::size_t>(node->GetListPlace());
  return place < models.size() && models[place].node == node ? node->GetListPlace() : kNone;
}

bool FbxSceneContent::collect(KFbxScene* scene, const KFbxIOSettings& settings, bool has_ids) {
  if (!_collectModels(scene->GetRootNode())) return false;
  if (settings.GetBoolProp(EXP_FBX_MATERIAL, true)) {
    _collectMaterials(settings.GetBoolProp(EXP_FBX_TEXTURE, true));
  }
  if (!_collectDeformers(settings.GetBoolProp(EXP_FBX_SHAPE, true))) return false;
  for (int i = 0; i < scene->GetPoseCount(); ++i) {
    KFbxPose* pose = scene->GetPose(i);
    poses.push_back({pose, FbxCleanName(pose->GetName())});
  }
  _collectDisplayLayers(*scene);
  if (!_nameUserProperties()) return false;
  if (settings.GetBoolProp(EXP_FBX_ANIMATION, true) && !_collectAnimation(*scene)) return false;
  if (has_ids) {
    _nameForPeople();
  } else {
    _nameForReference();
  }
  _numberObjects();
  return true;
}

bool FbxSceneContent::_collectModels(KFbxNode* root) {
  struct Waiting {
    KFbxNode* node;
    int parent;
  };
  std::vector<Waiting> waiting;
  const auto add_children = [&waiting](const KFbxNode* node, int parent) {
    for (int i = node->GetChildCount() - 1; i >= 0; --i) {
      waiting.push_back({node->GetChild(i), parent});
    }
  };
  add_children(root, kNone);
  while (!waiting.empty()) {
    const Waiting next = waiting.back();
    waiting.pop_back();
    if (!_addModel(next.node, next.parent)) return false;
    add_children(next.node, LastIndex(models));
  }
  _linkModels();
  return true;
}

// From the last one on, so that each comes before those that its parent has got already.
void FbxSceneContent::_linkModels() {
  for (int i = LastIndex(models); i >= 0; --i) {
    Model& model = At(models, i);
    if (model.parent == kNone) continue;
    model.next_sibling = std::exchange(At(models, model.parent).first_child, i);
  }
}

bool FbxSceneContent::_addModel(KFbxNode* node, int parent) {
  if (!IsFinite(node->LocalTransform())) return FailNumbers(*node);
  const auto index = static_cast<int>(models.size());
  if (parent == kNone) top_models.push_back(index);
  KFbxMesh* mesh = node->GetMesh();
  if (mesh != nullptr) {
    if (const char* fault = mesh->Complete(node->GetMaterialCount())) return Fail(*node, fault);
  }
  const int attribute = _addAttribute(node->GetNodeAttribute(), index);
  const KFbxSkeleton* bone = attribute == kNone ? nullptr : At(attributes, attribute).skeleton();
  if (bone != nullptr && !std::isfinite(bone->Size.Get()))
    return Fail(*node, "its size is not finite");
  models.push_back({node, FbxCleanName(node->GetName()), parent, attribute});
  node->SetListPlace(index);
  return true;
}

int FbxSceneContent::_addAttribute(KFbxNodeAttribute* attribute, int model) {
  if (attribute == nullptr) return kNone;
  const auto place = static_cast<std::size_t>(attribute->_file_place);
  if (place >= attributes.size() || attributes[place].attribute != attribute) {
    attribute->_file_place = static_cast<int>(attributes.size());
    attributes.push_back({attribute, FbxCleanName(attribute->GetName()), model});
  }
  return attribute->_file_place;
}

void FbxSceneContent::_collectMaterials(bool with_textures) {
  for (const Model& model : models) {
    for (int i = 0; i < model.node->GetMaterialCount(); ++i) {
      KFbxSurfacePhong* material = model.node->GetMaterial(i);
      if (!_materials.try_emplace(material, static_cast<int>(materials.size())).second) continue;
      materials.push_back({material, FbxCleanName(material->GetName())});
      if (!with_textures) continue;
      for (const auto& connection : material->GetTextures()) _addTexture(connection.texture);
    }
  }
}

void FbxSceneContent::_addTexture(KFbxTexture* texture) {
  if (!_textures.try_emplace(texture, static_cast<int>(textures.size())).second) return;
  int video_index = kNone;
  if (KFbxVideo* video = texture->GetMedia()) {
    const auto [found, is_new] = _videos.try_emplace(video, static_cast<int>(videos.size()));
    if (is_new) videos.push_back({video, FbxCleanName(video->GetName())});
    video_index = found->second;
  }
  textures.push_back({texture, FbxCleanName(texture->GetName()), video_index});
}

bool FbxSceneContent::_collectDeformers(bool with_shapes) {
  for (int i = 0; i < static_cast<int>(attributes.size()); ++i) {
    const KFbxMesh* mesh = At(attributes, i).mesh();
    if (mesh != nullptr && !_addDeformers(*mesh, i, with_shapes)) return false;
  }
  return true;
}

bool FbxSceneContent::_addDeformers(const KFbxMesh& mesh, int attribute, bool with_shapes) {
  FbxUniqueNames shape_names;
  for (int i = 0; i < mesh.GetDeformerCount(); ++i) {
    const KFbxDeformer* deformer = mesh.GetDeformer(i);
    if (deformer->GetDeformerType() == KFbxDeformer::eSKIN) {
      if (!_addSkin(static_cast<const KFbxSkin&>(*deformer), attribute)) return false;
    } else if (with_shapes) {
      const auto& blend_shape = static_cast<const KFbxBlendShape&>(*deformer);
      if (At(attributes, attribute).blend_shape_count == 0) shape_names = ChannelNames();
      if (!_addBlendShape(blend_shape, attribute, &shape_names)) return false;
    }
  }
  return true;
}

bool FbxSceneContent::_addSkin(const KFbxSkin& skin, int attribute) {
  const Attribute& bound = At(attributes, attribute);
  const int points = bound.mesh()->GetControlPointsCount();
  Skin& added = skins.emplace_back(Skin{FbxCleanName(skin.GetName()), attribute, {}});
  added.clusters.reserve(static_cast<std::size_t>(skin.GetClusterCount()));
  for (int i = 0; i < skin.GetClusterCount(); ++i) {
    KFbxCluster* cluster = skin.GetCluster(i);
    const int link = modelOf(cluster->GetLink());
    if (link == kNone) return Fail(*bound.attribute, "its skin names a bone outside of the scene");
    const auto& weights = cluster->GetControlPointWeights();
    if (!AreIndices(cluster->GetControlPointIndices(), points) || !AreFinite(weights) ||
        weights.size() != cluster->GetControlPointIndices().size() ||
        !IsFinite(cluster->GetTransformMatrix()) || !IsFinite(cluster->GetTransformLinkMatrix())) {
      return Fail(*bound.attribute, "its skin does not fit its points");
    }
    added.clusters.push_back({cluster, FbxCleanName(cluster->GetName()), link});
  }
  return true;
}

bool FbxSceneContent::_addBlendShape(const KFbxBlendShape& blend_shape, int attribute,
                                     FbxUniqueNames* names) {
  Attribute& bound = At(attributes, attribute);
  const int points = bound.mesh()->GetControlPointsCount();
  if (bound.blend_shape_count++ == 0) {
    bound.first_blend_shape = static_cast<int>(blend_shapes.size());
  }
  BlendShape& added =
      blend_shapes.emplace_back(BlendShape{FbxCleanName(blend_shape.GetName()), attribute, {}});
  for (int i = 0; i < blend_shape.GetBlendShapeChannelCount(); ++i) {
    KFbxBlendShapeChannel* channel = blend_shape.GetBlendShapeChannel(i);
    const KFbxShape* shape = channel->GetTargetShape();
    if (shape == nullptr || !AreIndices(shape->GetControlPointIndices(), points) ||
        !AreFinite(shape->GetOffsets()) ||
        shape->GetOffsets().size() != 3 * shape->GetControlPointIndices().size()) {
      return Fail(*bound.attribute, "a blend shape does not fit its points");
    }
    added.channels.push_back({channel, names->make(FbxCleanName(channel->GetName()))});
  }
  return true;
}

void FbxSceneContent::_collectDisplayLayers(const KFbxScene& scene) {
  for (const KFbxDisplayLayer* layer : scene.GetDisplayLayers()) {
    DisplayLayer& added =
        display_layers.emplace_back(DisplayLayer{FbxCleanName(layer->GetName()), {}});
    // The root and nodes outside of the scene are no objects of the file.
    for (const KFbxNode* node : layer->GetMembers()) {
      if (const int model = modelOf(node); model != kNone) added.models.push_back(model);
    }
  }
}

bool FbxSceneContent::_nameUserProperties() {
  for (Model& model : models) {
    model.first_user_name = static_cast<int>(user_names.size());
    for (const KFbxUserProperty& property : model.node->GetUserProperties()) {
      const auto* number = std::get_if<double>(&property.value);
      if (number != nullptr && !std::isfinite(*number)) {
        return Fail(*model.node, "a user property is not finite");
      }
      const std::string name = FbxCleanName(property.name.view());
      std::string unique = name;
      for (int i = 1; _hasProperty(model, unique); ++i) {
        unique = name + "_ncl1_" + std::to_string(i);
      }
      user_names.push_back(unique);
    }
  }
  return true;
}

bool FbxSceneContent::_hasProperty(const Model& model, const std::string& name) const {
  for (const auto& table : {FbxNodeProperties(), FbxSkeletonProperties(), FbxMeshProperties()}) {
    if (std::any_of(table.begin(), table.end(),
                    [&name](const FbxPropertyRow& row) { return row.name == name; })) {
      return true;
    }
  }
  const auto first = user_names.begin() + model.first_user_name;
  if (std::find(first, user_names.end(), name) != user_names.end()) return true;
  if (model.attribute == kNone) return false;
  for (const BlendShape& shape :
       blendShapesOf(attributes[static_cast<std::size_t>(model.attribute)])) {
    if (std::any_of(shape.channels.begin(), shape.channels.end(),
                    [&name](const Channel& channel) { return channel.name == name; })) {
      return true;
    }
  }
  return false;
}

bool FbxSceneContent::_collectAnimation(const KFbxScene& scene) {
  frame_rate = scene.GetFrameRate();
  const int count = scene.GetAnimStackCount();
  if (count == 0) return true;
  constexpr double kUsualRate = 30;
  if (frame_rate.GetTimeMode() == eDEFAULT_MODE) frame_rate = KFbxFrameRate(kUsualRate);
  for (const BlendShape& blend_shape : blend_shapes) {
    for (const Channel& channel : blend_shape.channels) {
      _channels.try_emplace(channel.channel, static_cast<int>(_all_channels.size()));
      _all_channels.emplace_back(At(attributes, blend_shape.attribute).model, &channel);
    }
  }
  time_start = scene.GetAnimStack(0)->LocalStart.Get();
  time_stop = scene.GetAnimStack(0)->LocalStop.Get();
  for (int i = 0; i < count; ++i) {
    const KFbxAnimStack& stack = *scene.GetAnimStack(i);
    if (!_addAnimStack(stack)) return false;
    time_start = std::min(time_start, stack.LocalStart.Get());
    time_stop = std::max(time_stop, stack.LocalStop.Get());
  }
  MakeUnique(&anim_stacks);
  return true;
}

bool FbxSceneContent::_addAnimStack(const KFbxAnimStack& stack) {
  if (stack.LocalStop.Get() < stack.LocalStart.Get())
    return Fail(stack, "it ends before it starts");
  AnimStack& added = anim_stacks.emplace_back(AnimStack{&stack, FbxCleanName(stack.GetName()), {}});
  for (const KFbxAnimCurveNode* curve_node : stack.GetCurveNodes()) {
    AnimCurveNode entry = {curve_node, modelOf(curve_node->GetNode()), nullptr};
    if (curve_node->GetProperty() == KFbxAnimCurveNode::eDEFORM_PERCENT) {
      const int place = _find(_channels, curve_node->GetChannel());
      if (place == kNone) continue;  // blend shapes are not wanted, or its mesh is not shown
      entry.model = At(_all_channels, place).first;
      entry.channel = At(_all_channels, place).second;
    }
    if (entry.model == kNone) return Fail(stack, "it moves a node outside of the scene");
    for (int i = 0; i < curve_node->GetCurveCount(); ++i) {
      if (const char* fault = FaultOf(*curve_node->GetCurve(i))) return Fail(stack, fault);
    }
    added.curve_nodes.push_back(entry);
  }
  std::stable_sort(added.curve_nodes.begin(), added.curve_nodes.end(),
                   [](const AnimCurveNode& a, const AnimCurveNode& b) {
                     return std::pair(a.model, a.curve_node->GetProperty()) <
                            std::pair(b.model, b.curve_node->GetProperty());
                   });
  return true;
}

void FbxSceneContent::_nameForPeople() {
  MakeUnique(&models);
  MakeUnique(&materials);
  MakeUnique(&textures);
  MakeUnique(&videos);
  MakeUnique(&display_layers);
}

void FbxSceneContent::_nameForReference() {
  // A name is what refers to an object. Nodes, their attributes and materials are told apart from
  // each other, and layers from them; the root's name stands for the root only.
  FbxUniqueNames names;
  (void)names.make("Scene");
  MakeUnique(&models, &names);
  MakeUnique(&attributes, &names);
  MakeUnique(&materials, &names);
  MakeUnique(&display_layers, &names);
  MakeUnique(&textures);
  MakeUnique(&videos);
  MakeUnique(&poses);
  FbxUniqueNames skin_names;
  FbxUniqueNames cluster_names;
  for (Skin& skin : skins) {
    const int model = At(attributes, skin.attribute).model;
    skin.name = skin_names.make("Skin " + At(models, model).name);
    for (Cluster& cluster : skin.clusters) {
      cluster.name = cluster_names.make("Cluster " + At(models, cluster.link).name);
    }
  }
}

void FbxSceneContent::_numberObjects() {
  std::int64_t id = kFirstId;
  document_id = id++;
  Number(&attributes, &id);
  for (BlendShape& blend_shape : blend_shapes) {
    for (Channel& channel : blend_shape.channels) channel.shape_id = id++;
  }
  Number(&models, &id);
  Number(&poses, &id);
  Number(&materials, &id);
  for (Skin& skin : skins) {
    skin.id = id++;
    Number(&skin.clusters, &id);
  }
  for (BlendShape& blend_shape : blend_shapes) {
    blend_shape.id = id++;
    Number(&blend_shape.channels, &id);
  }
  Number(&videos, &id);
  Number(&textures, &id);
  Number(&display_layers, &id);
  for (AnimStack& stack : anim_stacks) NumberStack(&stack, &id);
}

int FbxSceneContent::meshCount() const {
  return static_cast<int>(
      std::count_if(attributes.begin(), attributes.end(),
                    [](const Attribute& attribute) { return attribute.mesh() != nullptr; }));
}

int FbxSceneContent::shapeCount() const {
  std::size_t count = 0;
  for (const BlendShape& blend_shape : blend_shapes) count += blend_shape.channels.size();
  return static_cast<int>(count);
}

int FbxSceneContent::subDeformerCount() const {
  std::size_t count = 0;
  for (const Skin& skin : skins) count += skin.clusters.size();
  return static_cast<int>(count) + shapeCount();
}

int FbxSceneContent::animCurveNodeCount() const {
  std::size_t count = 0;
  for (const AnimStack& stack : anim_stacks) count += stack.curve_nodes.size();
  return static_cast<int>(count);
}

int FbxSceneContent::animCurveCount() const {
  int count = 0;
  for (const AnimStack& stack : anim_stacks) {
    for (const AnimCurveNode& entry : stack.curve_nodes) count += entry.curve_node->GetCurveCount();
  }
  return count;
}
