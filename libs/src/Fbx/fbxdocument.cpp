#include "fbxdocument.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "Bt/btexcept.h"
#include "Fbx/kfbxdocumentinfo.h"
#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxsourcefile.h"

namespace {

// Readers choose their dialect by this text.
constexpr std::string_view kCreator = "FBX SDK/FBX Plugins version 2011.3";
constexpr std::string_view kCreatorBuild = "FBX SDK/FBX Plugins version 2011.3 build=20100608";

// How a node takes its parent's scale over, as a number of the property: by plain products of
// matrices, which is what bind poses are computed with.
constexpr double kScaleAsMatrix = 1;

double Brightness(const KFbxVector4& color) { return (color[0] + color[1] + color[2]) / 3; }

FbxPropertyValue Times(const KFbxProperty<KFbxVector4>& color, const KFbxProperty<double>& factor) {
  const KFbxVector4& c = color.Get();
  const double f = factor.Get();
  return {c[0] * f, c[1] * f, c[2] * f};
}

KFbxXMatrix GlobalMatrix(KFbxScene* scene, const KFbxPose& pose, int i) {
  KFbxNode* parent = pose.GetNode(i)->GetParent();
  if (!pose.IsLocalMatrix(i) || parent == nullptr) return pose.GetMatrix(i);
  return scene->GetEvaluator()->GetNodeGlobalTransform(parent) * pose.GetMatrix(i);
}

void WriteUserProperty(std::string_view name, const KFbxUserProperty& property,
                       FbxPropertyWriter* list) {
  if (const auto* integer = std::get_if<std::int32_t>(&property.value)) {
    list->write({name, FbxPropertyType::eInt, 0, "U"}, static_cast<double>(*integer));
  } else if (const auto* number = std::get_if<double>(&property.value)) {
    list->write({name, FbxPropertyType::eDouble, 0, "A+U"}, *number);
  } else {
    const std::string text = FbxText(std::get<BtStr>(property.value).view());
    list->write({name, FbxPropertyType::eString, "", "U"}, text);
  }
}

}  // namespace

const char* FbxSkeletonTypeName(const KFbxNodeAttribute& attribute) {
  constexpr const char* kNames[] = {"Root", "Limb", "LimbNode", "Effector"};
  return kNames[static_cast<const KFbxSkeleton&>(attribute).GetSkeletonType()];
}

const char* FbxModelTypeName(const KFbxNode& node) {
  const KFbxNodeAttribute* attribute = node.GetNodeAttribute();
  if (attribute == nullptr) return "Null";
  if (attribute->GetAttributeType() == KFbxNodeAttribute::eMESH) return "Mesh";
  return FbxSkeletonTypeName(*attribute);
}

FbxDocument::FbxDocument(FbxRecordSink* sink, const FbxDocumentSource& source)
    : _sink(*sink), _source(source), _content(*source.content), _family(*source.dialect->family) {}

void FbxDocument::openObject(std::string_view record, const Reference& object,
                             std::string_view subtype) {
  _sink.begin(record);
  if (_family.has_ids) _sink.add(object.id);
  _sink.add(object.name);
  _sink.add(subtype);
  _sink.list();
}

void FbxDocument::addReference(const Reference& object) {
  if (_family.has_ids) {
    _sink.add(object.id);
  } else {
    _sink.add(object.name);
  }
}

void FbxDocument::connect(const Reference& child, const Reference& parent,
                          std::string_view property) {
  _sink.begin(_family.connection);
  _sink.add(property.empty() ? "OO" : "OP");
  addReference(child);
  addReference(parent);
  if (!property.empty()) _sink.add(property);
  _sink.end();
}

void FbxDocument::connectChildren(const FbxSceneContent::Model& model, const Reference& parent) {
  for (int child = model.first_child; child != FbxSceneContent::kNone;
       child = _content.models[static_cast<std::size_t>(child)].next_sibling) {
    connect(modelAt(child), parent);
  }
}

FbxDocument::Reference FbxDocument::modelAt(int index) const {
  if (index == FbxSceneContent::kNone) return {0, {"Scene", "Model"}};
  const auto& model = _content.models[static_cast<std::size_t>(index)];
  return {model.id, {model.name, "Model"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Material& entry) {
  return {entry.id, {entry.name, "Material"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Texture& entry) {
  return {entry.id, {entry.name, "Texture"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Video& entry) {
  return {entry.id, {entry.name, "Video"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::DisplayLayer& entry) {
  return {entry.id, {entry.name, "DisplayLayer"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Skin& entry) {
  return {entry.id, {entry.name, "Deformer"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Cluster& entry) {
  return {entry.id, {entry.name, "SubDeformer"}};
}

void FbxDocument::openHeaderExtension() {
  const FbxCreationTime& time = _source.creation_time;
  _sink.open("FBXHeaderExtension");
  _sink.leaf("FBXHeaderVersion", std::int32_t{1003});
  _sink.leaf("FBXVersion", _source.dialect->file_version);
  if (_sink.isBinary()) _sink.leaf("EncryptionType", std::int32_t{0});
  _sink.open("CreationTimeStamp");
  _sink.leaf("Version", std::int32_t{1000});
  _sink.leaf("Year", time.year);
  _sink.leaf("Month", time.month);
  _sink.leaf("Day", time.day);
  _sink.leaf("Hour", time.hour);
  _sink.leaf("Minute", time.minute);
  _sink.leaf("Second", time.second);
  _sink.leaf("Millisecond", time.millisecond);
  _sink.end();
  _sink.leaf("Creator", kCreator);
}

void FbxDocument::writeIdentity() {
  if (_sink.isBinary()) {
    _sink.begin("FileId");
    _sink.addRaw(_source.creation_time.fileId());
    _sink.end();
  }
  _sink.leaf("CreationTime", _source.creation_time.text());
  _sink.leaf("Creator", kCreatorBuild);
}

void FbxDocument::writeSceneInfo() {
  const KFbxDocumentInfo* info = _source.scene->GetSceneInfo();
  const auto text = [info](BtStr KFbxDocumentInfo::*field) {
    return info == nullptr ? std::string() : FbxText((info->*field).view());
  };
  _sink.open("SceneInfo", FbxObjectName{"GlobalInfo", "SceneInfo"}, "UserData");
  _sink.leaf("Type", "UserData");
  _sink.leaf("Version", std::int32_t{100});
  _sink.open("MetaData");
  _sink.leaf("Version", std::int32_t{100});
  _sink.leaf("Title", text(&KFbxDocumentInfo::mTitle));
  _sink.leaf("Subject", text(&KFbxDocumentInfo::mSubject));
  _sink.leaf("Author", text(&KFbxDocumentInfo::mAuthor));
  _sink.leaf("Keywords", text(&KFbxDocumentInfo::mKeywords));
  _sink.leaf("Revision", text(&KFbxDocumentInfo::mRevision));
  _sink.leaf("Comment", text(&KFbxDocumentInfo::mComment));
  _sink.end();
  const std::string vendor = text(&KFbxDocumentInfo::mApplicationVendor);
  const std::string name = text(&KFbxDocumentInfo::mApplicationName);
  const std::string version = text(&KFbxDocumentInfo::mApplicationVersion);
  const FbxSetting settings[] = {
      {"Original|ApplicationVendor", vendor},   {"Original|ApplicationName", name},
      {"Original|ApplicationVersion", version}, {"LastSaved|ApplicationVendor", vendor},
      {"LastSaved|ApplicationName", name},      {"LastSaved|ApplicationVersion", version},
  };
  // The urls of the document stay empty: the same scene is the same file wherever it is written.
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(FbxSceneInfoProperties(), settings);
  list.end();
  _sink.end();
}

void FbxDocument::writeGlobalSettings() {
  _sink.open("GlobalSettings");
  _sink.leaf("Version", std::int32_t{1000});
  FbxPropertyWriter list = properties();
  const KFbxFrameRate& rate = _content.frame_rate;
  const FbxSetting settings[] = {
      {"TimeMode", static_cast<double>(rate.GetTimeMode())},
      {"TimeSpanStart", static_cast<double>(_content.time_start)},
      {"TimeSpanStop", static_cast<double>(_content.time_stop)},
  };
  list.begin();
  list.write(FbxGlobalSettingsProperties(), settings);
  if (rate.GetTimeMode() == eCUSTOM) {
    list.write({"CustomFrameRate", FbxPropertyType::eDouble, -1}, rate.GetFrameRate());
  }
  list.end();
  _sink.end();
}

void FbxDocument::writeMatrix(std::string_view name, const KFbxXMatrix& matrix) {
  _sink.leaf(name, std::span<const double>(matrix.Values()));
}

void FbxDocument::writeNodeProperties(const FbxSceneContent::Model& model,
                                      FbxPropertyWriter* list) {
  const KFbxNode& node = *model.node;
  const bool has_attribute = model.attribute != FbxSceneContent::kNone;
  const double scaling_min = _family.unused_scaling_min;
  const FbxSetting settings[] = {
      {"RotationOrder", static_cast<double>(node.GetRotationOrder(KFbxNode::eSOURCE_SET))},
      {"PreRotation", node.GetPreRotation(KFbxNode::eSOURCE_SET)},
      {"RotationActive", node.GetRotationActive() ? 1.0 : 0.0},
      {"InheritType", kScaleAsMatrix},
      {"ScalingMin", {scaling_min, scaling_min, scaling_min}},
      {"DefaultAttributeIndex", has_attribute ? 0.0 : -1.0},
      {"Lcl Translation", node.LclTranslation.Get()},
      {"Lcl Rotation", node.LclRotation.Get()},
      {"Lcl Scaling", node.LclScaling.Get()},
  };
  list->write(FbxNodeProperties(), settings, _family.selection);
  auto name = _content.user_names.begin() + model.first_user_name;
  for (const KFbxUserProperty& property : node.GetUserProperties()) {
    WriteUserProperty(*name++, property, list);
  }
}

int FbxDocument::materialsOf(const FbxSceneContent::Model& model) const {
  return _content.materials.empty() ? 0 : model.node->GetMaterialCount();
}

void FbxDocument::writeModelFlags() {
  _sink.leaf("MultiLayer", std::int32_t{0});
  _sink.leaf("MultiTake", std::int32_t{1});
  _sink.leaf("Shading", 'Y');
  _sink.leaf("Culling", "CullingOff");
}

void FbxDocument::writePoses() {
  for (const FbxSceneContent::Pose& entry : _content.poses) writePose(entry);
}

void FbxDocument::writePose(const FbxSceneContent::Pose& entry) {
  const KFbxPose& pose = *entry.pose;
  // The root and nodes outside of the scene are no objects of the file.
  struct Placed {
    int place;  // in the pose
    int model;
  };
  std::vector<Placed> placed;
  for (int i = 0; i < pose.GetCount(); ++i) {
    const int model = _content.modelOf(pose.GetNode(i));
    if (model != FbxSceneContent::kNone) placed.push_back({i, model});
  }
  const char* type = pose.IsBindPose() ? "BindPose" : "RestPose";
  openObject("Pose", {entry.id, {entry.name, "Pose"}}, type);
  _sink.leaf("Type", type);
  _sink.leaf("Version", std::int32_t{100});
  if (_family.has_empty_lists) {
    properties().begin();
    properties().end();
  }
  _sink.leaf("NbPoseNodes", static_cast<std::int32_t>(placed.size()));
  for (const auto& [i, model] : placed) {
    _sink.open("PoseNode");
    _sink.begin("Node");
    addReference(modelAt(model));
    _sink.end();
    writeMatrix("Matrix", GlobalMatrix(_source.scene, pose, i));
    _sink.end();
  }
  _sink.end();
}

void FbxDocument::writeMaterials() {
  for (const FbxSceneContent::Material& entry : _content.materials) {
    const KFbxSurfacePhong& m = *entry.material;
    std::vector<FbxSetting> settings;
    for (const auto& [name, member] : kKFbxPhongProperties) {
      settings.push_back(
          {name, std::visit([&m](auto of) -> FbxPropertyValue { return (m.*of).Get(); }, member)});
    }
    const FbxSetting legacy[] = {
        {"Emissive", Times(m.EmissiveColor, m.EmissiveFactor)},
        {"Ambient", Times(m.AmbientColor, m.AmbientFactor)},
        {"Diffuse", Times(m.DiffuseColor, m.DiffuseFactor)},
        {"Specular", Times(m.SpecularColor, m.SpecularFactor)},
        {"Shininess", m.ShininessExponent.Get()},
        {"Opacity", 1 - Brightness(m.TransparentColor.Get()) * m.TransparencyFactor.Get()},
        {"Reflectivity", Brightness(m.ReflectionColor.Get()) * m.ReflectionFactor.Get()},
    };
    // All of them in both families: readers show them, but not every one knows the template.
    openObject("Material", refer(entry), "");
    _sink.leaf("Version", std::int32_t{102});
    _sink.leaf("ShadingModel", "phong");
    _sink.leaf("MultiLayer", std::int32_t{0});
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(FbxPhongProperties(), settings);
    list.write(FbxPhongLegacyProperties(), legacy);
    list.end();
    _sink.end();
  }
}

void FbxDocument::writeClusterWeights(const KFbxCluster& cluster) {
  _sink.leaf("UserData", "", "");
  if (!cluster.GetControlPointIndices().empty()) {
    _sink.leaf("Indexes", std::span<const std::int32_t>(cluster.GetControlPointIndices()));
    _sink.leaf("Weights", std::span<const double>(cluster.GetControlPointWeights()));
  }
  // From the space of the mesh into that of the bone, and from there into the world.
  writeMatrix("Transform",
              cluster.GetTransformLinkMatrix().Inverse() * cluster.GetTransformMatrix());
  writeMatrix("TransformLink", cluster.GetTransformLinkMatrix());
}

void FbxDocument::writeTextures() {
  for (const FbxSceneContent::Texture& entry : _content.textures) {
    const KFbxTexture& texture = *entry.texture;
    const std::string uv_set = FbxText(texture.GetUVSet());
    const FbxSetting settings[] = {
        {"WrapModeU", static_cast<double>(texture.GetWrapModeU())},
        {"WrapModeV", static_cast<double>(texture.GetWrapModeV())},
        {"CurrentTextureBlendMode", 0.0},  // the picture covers what is beneath it
        {"UVSet", uv_set},
        {"UseMaterial", 1.0},
    };
    openObject("Texture", refer(entry), "");
    _sink.leaf("Type", "TextureVideoClip");
    _sink.leaf("Version", std::int32_t{202});
    _sink.leaf("TextureName", refer(entry).name);
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(FbxTextureProperties(), settings);
    list.end();
    if (entry.video != FbxSceneContent::kNone) {
      _sink.leaf("Media", refer(_content.videos[static_cast<std::size_t>(entry.video)]).name);
    }
    _sink.leaf("FileName", FbxText(texture.GetFileName()));
    _sink.leaf("RelativeFilename", texture.GetMedia() == nullptr
                                       ? FbxText(texture.GetRelativeFileName())
                                       : relativeNameOf(*texture.GetMedia()));
    _sink.leaf("ModelUVTranslation", 0.0, 0.0);
    _sink.leaf("ModelUVScaling", 1.0, 1.0);
    _sink.leaf("Texture_Alpha_Source", "None");
    _sink.leaf("Cropping", std::int32_t{0}, std::int32_t{0}, std::int32_t{0}, std::int32_t{0});
    _sink.end();
  }
}

void FbxDocument::writeDisplayLayers() {
  for (const FbxSceneContent::DisplayLayer& layer : _content.display_layers) {
    openObject("CollectionExclusive", refer(layer), "DisplayLayer");
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(FbxDisplayLayerProperties());
    list.end();
    _sink.end();
  }
}

void FbxDocument::connectDisplayLayers() {
  for (const FbxSceneContent::DisplayLayer& layer : _content.display_layers) {
    for (const int model : layer.models) connect(modelAt(model), refer(layer));
  }
}

std::string FbxDocument::relativeNameOf(const KFbxVideo& video) const {
  const std::filesystem::path given(video.GetRelativeFileName());
  if (video.GetContentFile() != nullptr && !_source.folder.empty()) {
    const auto folder = std::filesystem::path(video.GetContentFile()).parent_path();
    std::error_code unknown;
    const auto from_here = std::filesystem::canonical(folder.empty() ? "." : folder, unknown)
                               .lexically_relative(_source.folder);
    // The last component is what the picture is called in the file: it has that to itself.
    if (!from_here.empty())
      return FbxText((from_here / given.filename()).lexically_normal().c_str());
  }
  return FbxText(given.c_str());
}

void FbxDocument::writeContent(const FbxSceneContent::Video& entry) {
  const char* path = entry.video->GetContentFile();
  if (!_source.embed_media || path == nullptr) return;
  FbxSourceFile file;
  const bool opened = file.open(path);
  if (!opened && !BtError()) {
    BtWarn(BtCode("texture-unreadable"), "Unable to embed the picture '%s': %s.",
           file.name().c_str(), file.reason());
  }
  _sink.begin("Content");
  if (opened) _sink.addFile(file);
  _sink.end();
}

void FbxDocument::writeTextureConnection(const FbxSceneContent::Texture& texture) {
  if (texture.video == FbxSceneContent::kNone) return;
  connect(refer(_content.videos[static_cast<std::size_t>(texture.video)]), refer(texture));
}

std::string_view FbxDocument::currentTake() const {
  return _content.anim_stacks.empty() ? std::string_view() : _content.anim_stacks.front().name;
}

void FbxDocument::openTake(const FbxSceneContent::AnimStack& stack) {
  std::string file_name = stack.name + ".tak";
  std::replace(file_name.begin(), file_name.end(), ' ', '_');
  _sink.open("Take", stack.name);
  _sink.leaf("FileName", file_name);
  writeTakeTimes(stack);
}

void FbxDocument::writeTakeTimes(const FbxSceneContent::AnimStack& stack) {
  const KTime start = stack.stack->LocalStart.Get();
  const KTime stop = stack.stack->LocalStop.Get();
  _sink.leaf("LocalTime", start, stop);
  _sink.leaf("ReferenceTime", start, stop);
}
