#include "fbxdocument.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <variant>

#include "Bt/btexcept.h"
#include "Fbx/kfbxdocumentinfo.h"
#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxpose.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxsourcefile.h"

namespace {

// Readers choose their dialect by this text.
constexpr std::string_view kCreator = "FBX SDK/FBX Plugins version 2011.3";

// Ways in which a node takes its parent's scale over, as numbers of the property.
constexpr double kScaleLocally = 0;   // it does not skew the node's own rotation
constexpr double kScaleAsMatrix = 1;  // plain products of matrices

double Brightness(const KFbxVector4& color) { return (color[0] + color[1] + color[2]) / 3; }

FbxPropertyValue Times(const KFbxProperty<KFbxVector4>& color, const KFbxProperty<double>& factor) {
  const KFbxVector4& c = color.Get();
  const double f = factor.Get();
  return {c[0] * f, c[1] * f, c[2] * f};
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

FbxDocument::FbxDocument(FbxRecordSink* sink_in, const FbxDocumentSource& source_in,
                         FbxFamily family_in)
    : sink(*sink_in), source(source_in), content(*source_in.content), family(family_in) {}

void FbxDocument::openObject(std::string_view record, const Reference& object,
                             std::string_view subtype) {
  sink.begin(record);
  if (family == FbxFamily::e71) sink.add(object.id);
  sink.add(object.name);
  sink.add(subtype);
  sink.list();
}

void FbxDocument::addReference(const Reference& object) {
  if (family == FbxFamily::e71) {
    sink.add(object.id);
  } else {
    sink.add(object.name);
  }
}

void FbxDocument::connect(const Reference& child, const Reference& parent,
                          std::string_view property) {
  sink.begin(family == FbxFamily::e71 ? "C" : "Connect");
  sink.add(property.empty() ? "OO" : "OP");
  addReference(child);
  addReference(parent);
  if (!property.empty()) sink.add(property);
  sink.end();
}

FbxDocument::Reference FbxDocument::modelAt(int index) const {
  if (index == FbxSceneContent::kNone) return {0, {"Scene", "Model"}};
  const auto& model = content.models[static_cast<std::size_t>(index)];
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

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Skin& entry) {
  return {entry.id, {entry.name, "Deformer"}};
}

FbxDocument::Reference FbxDocument::refer(const FbxSceneContent::Cluster& entry) {
  return {entry.id, {entry.name, "SubDeformer"}};
}

void FbxDocument::writeHeaderExtension(std::int32_t version) {
  const FbxCreationTime& time = source.creation_time;
  sink.open("FBXHeaderExtension");
  sink.leaf("FBXHeaderVersion", std::int32_t{1003});
  sink.leaf("FBXVersion", version);
  if (sink.isBinary()) sink.leaf("EncryptionType", std::int32_t{0});
  sink.open("CreationTimeStamp");
  sink.leaf("Version", std::int32_t{1000});
  sink.leaf("Year", time.year);
  sink.leaf("Month", time.month);
  sink.leaf("Day", time.day);
  sink.leaf("Hour", time.hour);
  sink.leaf("Minute", time.minute);
  sink.leaf("Second", time.second);
  sink.leaf("Millisecond", time.millisecond);
  sink.end();
  sink.leaf("Creator", kCreator);
  if (family == FbxFamily::e71) {
    writeSceneInfo();
  } else {
    sink.open("OtherFlags");
    sink.leaf("FlagPLE", std::int32_t{0});
    sink.end();
  }
  sink.end();
}

void FbxDocument::writeIdentity() {
  // Texts of the newer family have the creator in the header only.
  if (!sink.isBinary() && family == FbxFamily::e71) return;
  if (sink.isBinary()) {
    sink.begin("FileId");
    sink.addRaw(source.creation_time.fileId());
    sink.end();
  }
  sink.leaf("CreationTime", source.creation_time.text());
  sink.leaf("Creator", kCreator);
}

void FbxDocument::writeSceneInfo() {
  const KFbxDocumentInfo* info = source.scene->GetSceneInfo();
  const auto text = [info](BtStr KFbxDocumentInfo::*field) {
    return info == nullptr ? std::string() : FbxText((info->*field).view());
  };
  sink.open("SceneInfo", FbxObjectName{"GlobalInfo", "SceneInfo"}, "UserData");
  sink.leaf("Type", "UserData");
  sink.leaf("Version", std::int32_t{100});
  sink.open("MetaData");
  sink.leaf("Version", std::int32_t{100});
  sink.leaf("Title", text(&KFbxDocumentInfo::mTitle));
  sink.leaf("Subject", text(&KFbxDocumentInfo::mSubject));
  sink.leaf("Author", text(&KFbxDocumentInfo::mAuthor));
  sink.leaf("Keywords", text(&KFbxDocumentInfo::mKeywords));
  sink.leaf("Revision", text(&KFbxDocumentInfo::mRevision));
  sink.leaf("Comment", text(&KFbxDocumentInfo::mComment));
  sink.end();
  // The urls of the document stay empty: the same scene is the same file wherever it is written.
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(FbxSceneInfoProperties());
  list.end();
  sink.end();
}

void FbxDocument::writeGlobalSettings() {
  sink.open("GlobalSettings");
  sink.leaf("Version", std::int32_t{1000});
  FbxPropertyWriter list = properties();
  const KFbxFrameRate& rate = content.frame_rate;
  const FbxSetting settings[] = {
      {"TimeMode", static_cast<double>(rate.GetTimeMode())},
      {"TimeSpanStart", static_cast<double>(content.time_start)},
      {"TimeSpanStop", static_cast<double>(content.time_stop)},
  };
  list.begin();
  list.write(FbxGlobalSettingsProperties(), settings);
  if (rate.GetTimeMode() == eCUSTOM) {
    list.write({"CustomFrameRate", FbxPropertyType::eDouble, -1}, rate.GetFrameRate());
  }
  list.end();
  sink.end();
}

void FbxDocument::writeMatrix(std::string_view name, const KFbxXMatrix& matrix) {
  sink.leaf(name, std::span<const double>(matrix.Values()));
}

void FbxDocument::writeNodeProperties(const FbxSceneContent::Model& model,
                                      FbxPropertyWriter* list) {
  const KFbxNode& node = *model.node;
  const bool has_attribute = model.attribute != FbxSceneContent::kNone;
  const double inherit_type = model.has_scaled_ancestor ? kScaleAsMatrix : kScaleLocally;
  // The families differ in the default of a limit that is switched off.
  const double scaling_min = family == FbxFamily::e71 ? 0 : 1;
  const FbxSetting settings[] = {
      {"RotationOrder", static_cast<double>(node.GetRotationOrder(KFbxNode::eSOURCE_SET))},
      {"PreRotation", node.GetPreRotation(KFbxNode::eSOURCE_SET)},
      {"RotationActive", node.GetRotationActive() ? 1.0 : 0.0},
      {"InheritType", inherit_type},
      {"ScalingMin", {scaling_min, scaling_min, scaling_min}},
      {"DefaultAttributeIndex", has_attribute ? 0.0 : -1.0},
      {"Lcl Translation", node.LclTranslation.Get()},
      {"Lcl Rotation", node.LclRotation.Get()},
      {"Lcl Scaling", node.LclScaling.Get()},
  };
  list->write(FbxNodeProperties(), settings, selection());
  for (std::size_t i = 0; i < model.user_names.size(); ++i) {
    WriteUserProperty(model.user_names[i], node.GetUserProperties()[i], list);
  }
}

void FbxDocument::writePoses() {
  struct Entry {
    int model;
    KFbxXMatrix global;
  };
  for (const FbxSceneContent::Pose& entry : content.poses) {
    const KFbxPose& pose = *entry.pose;
    std::vector<Entry> nodes;
    for (int i = 0; i < pose.GetCount(); ++i) {
      // The root and nodes outside of the scene are no objects of the file.
      const int model = content.modelOf(pose.GetNode(i));
      if (model == FbxSceneContent::kNone) continue;
      KFbxNode* parent = pose.GetNode(i)->GetParent();
      KFbxXMatrix global = pose.GetMatrix(i);
      if (pose.IsLocalMatrix(i) && parent != nullptr) {
        global = source.scene->GetEvaluator()->GetNodeGlobalTransform(parent) * global;
      }
      nodes.push_back({model, global});
    }
    const char* type = pose.IsBindPose() ? "BindPose" : "RestPose";
    openObject("Pose", {entry.id, {entry.name, "Pose"}}, type);
    sink.leaf("Type", type);
    sink.leaf("Version", std::int32_t{100});
    if (family == FbxFamily::e61) {
      properties().begin();
      properties().end();
    }
    sink.leaf("NbPoseNodes", static_cast<std::int32_t>(nodes.size()));
    for (const Entry& node : nodes) {
      sink.open("PoseNode");
      sink.begin("Node");
      addReference(modelAt(node.model));
      sink.end();
      writeMatrix("Matrix", node.global);
      sink.end();
    }
    sink.end();
  }
}

void FbxDocument::writeMaterials() {
  for (const FbxSceneContent::Material& entry : content.materials) {
    const KFbxSurfacePhong& m = *entry.material;
    const FbxSetting settings[] = {
        {"EmissiveColor", m.EmissiveColor.Get()},
        {"EmissiveFactor", m.EmissiveFactor.Get()},
        {"AmbientColor", m.AmbientColor.Get()},
        {"AmbientFactor", m.AmbientFactor.Get()},
        {"DiffuseColor", m.DiffuseColor.Get()},
        {"DiffuseFactor", m.DiffuseFactor.Get()},
        {"TransparentColor", m.TransparentColor.Get()},
        {"TransparencyFactor", m.TransparencyFactor.Get()},
        {"SpecularColor", m.SpecularColor.Get()},
        {"SpecularFactor", m.SpecularFactor.Get()},
        {"ShininessExponent", m.ShininessExponent.Get()},
        {"ReflectionColor", m.ReflectionColor.Get()},
        {"ReflectionFactor", m.ReflectionFactor.Get()},
    };
    const FbxSetting legacy[] = {
        {"Emissive", Times(m.EmissiveColor, m.EmissiveFactor)},
        {"Ambient", Times(m.AmbientColor, m.AmbientFactor)},
        {"Diffuse", Times(m.DiffuseColor, m.DiffuseFactor)},
        {"Specular", Times(m.SpecularColor, m.SpecularFactor)},
        {"Shininess", m.ShininessExponent.Get()},
        {"Opacity", 1 - Brightness(m.TransparentColor.Get()) * m.TransparencyFactor.Get()},
        {"Reflectivity", Brightness(m.ReflectionColor.Get()) * m.ReflectionFactor.Get()},
    };
    openObject("Material", refer(entry), "");
    sink.leaf("Version", std::int32_t{102});
    sink.leaf("ShadingModel", "phong");
    sink.leaf("MultiLayer", std::int32_t{0});
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(FbxPhongProperties(), settings, selection());
    list.write(FbxPhongLegacyProperties(), legacy);
    list.end();
    sink.end();
  }
}

void FbxDocument::writeClusterWeights(const KFbxCluster& cluster) {
  sink.leaf("UserData", "", "");
  if (!cluster.GetControlPointIndices().empty()) {
    sink.leaf("Indexes", std::span<const std::int32_t>(cluster.GetControlPointIndices()));
    sink.leaf("Weights", std::span<const double>(cluster.GetControlPointWeights()));
  }
  // From the space of the mesh into that of the bone, and from there into the world.
  writeMatrix("Transform",
              cluster.GetTransformLinkMatrix().Inverse() * cluster.GetTransformMatrix());
  writeMatrix("TransformLink", cluster.GetTransformLinkMatrix());
}

void FbxDocument::writeTextures() {
  for (const FbxSceneContent::Texture& entry : content.textures) {
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
    sink.leaf("Type", "TextureVideoClip");
    sink.leaf("Version", std::int32_t{202});
    sink.leaf("TextureName", refer(entry).name);
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(FbxTextureProperties(), settings, selection());
    list.end();
    if (entry.video != FbxSceneContent::kNone) {
      sink.leaf("Media", refer(content.videos[static_cast<std::size_t>(entry.video)]).name);
    }
    sink.leaf("FileName", FbxText(texture.GetFileName()));
    sink.leaf("RelativeFilename", FbxText(texture.GetRelativeFileName()));
    sink.leaf("ModelUVTranslation", 0.0, 0.0);
    sink.leaf("ModelUVScaling", 1.0, 1.0);
    sink.leaf("Texture_Alpha_Source", "None");
    sink.leaf("Cropping", std::int32_t{0}, std::int32_t{0}, std::int32_t{0}, std::int32_t{0});
    sink.end();
  }
}

void FbxDocument::writeContent(const FbxSceneContent::Video& entry) {
  const char* path = entry.video->GetContentFile();
  if (!source.embed_media || path == nullptr) return;
  FbxSourceFile file;
  const bool opened = file.open(path);
  if (!opened && !BtError()) {
    BtWarn(BtCode("texture-unreadable"), "Unable to embed the picture '%s': %s.",
           file.name().c_str(), file.reason());
  }
  sink.begin("Content");
  if (opened) sink.addFile(file);
  sink.end();
}

void FbxDocument::writeTextureConnection(const FbxSceneContent::Texture& texture) {
  if (texture.video == FbxSceneContent::kNone) return;
  connect(refer(content.videos[static_cast<std::size_t>(texture.video)]), refer(texture));
}

std::string_view FbxDocument::currentTake() const {
  return content.anim_stacks.empty() ? std::string_view() : content.anim_stacks.front().name;
}

void FbxDocument::openTake(const FbxSceneContent::AnimStack& stack) {
  std::string file_name = stack.name + ".tak";
  std::replace(file_name.begin(), file_name.end(), ' ', '_');
  sink.open("Take", stack.name);
  sink.leaf("FileName", file_name);
  writeTakeTimes(stack);
}

void FbxDocument::writeTakeTimes(const FbxSceneContent::AnimStack& stack) {
  const KTime start = stack.stack->LocalStart.Get();
  const KTime stop = stack.stack->LocalStop.Get();
  sink.leaf("LocalTime", start, stop);
  sink.leaf("ReferenceTime", start, stop);
}
