#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bthash.h"
#include "fbxanimationrecords.h"
#include "fbxdocument.h"
#include "fbxgeometryrecords.h"
#include "fbxskeletontypes.h"
#include "kfbxmesh.h"
#include "kfbxnode.h"
#include "kfbxsurfacephong.h"
#include "kfbxtexture.h"

namespace {

// The layer element that places the textures of each slot on polygons.
struct SlotElement {
  std::string_view slot;
  std::string_view element;
};

constexpr SlotElement kSlotElements[] = {
    {"DiffuseColor", "LayerElementTexture"},
    {"AmbientColor", "LayerElementAmbientTextures"},
    {"EmissiveColor", "LayerElementEmissive_Textures"},
    {"SpecularColor", "LayerElementSpecularTextures"},
    {"TransparentColor", "LayerElementTransparentTextures"},
    {"ReflectionColor", "LayerElementReflectionTextures"},
    {"NormalMap", "LayerElementNormalMapTextures"},
    {"Bump", "LayerElementBumpTextures"},
};

// The textures of a node's materials, numbered in the order in which they are connected to the
// model.
class ModelTextures {
 public:
  ModelTextures(const KFbxNode& node, const FbxSceneContent& content) {
    for (int i = 0; i < node.GetMaterialCount(); ++i) {
      for (const auto& connection : node.GetMaterial(i)->GetTextures()) {
        const int texture = content.textureOf(connection.texture);
        if (texture == FbxSceneContent::kNone) continue;
        const auto next = static_cast<std::int32_t>(_textures.size());
        const auto [number, is_new] = _numbers.emplace(texture, next);
        if (is_new) _textures.push_back(texture);
        _uses.push_back({connection.slot, static_cast<std::size_t>(i), number->second});
      }
    }
  }

  // Indices into the content's textures, by number.
  [[nodiscard]] const std::vector<int>& textures() const { return _textures; }

  [[nodiscard]] std::vector<FbxTextureLayer> layers(const KFbxMesh& mesh) const {
    std::vector<FbxTextureLayer> layers;
    std::vector<std::int32_t> of_material;
    for (const SlotElement& slot : kSlotElements) {
      of_material.clear();
      for (const Use& use : _uses) {
        if (use.slot != slot.slot) continue;
        of_material.resize(std::max(of_material.size(), use.material + 1), FbxSceneContent::kNone);
        of_material[use.material] = use.number;
      }
      if (of_material.empty()) continue;
      FbxTextureLayer& layer = layers.emplace_back(FbxTextureLayer{slot.element, {}});
      layer.texture_of_polygon.reserve(mesh.GetPolygonMaterials().size());
      for (const std::int32_t polygon_material : mesh.GetPolygonMaterials()) {
        const auto material = static_cast<std::size_t>(polygon_material);
        layer.texture_of_polygon.push_back(material < of_material.size() ? of_material[material]
                                                                         : FbxSceneContent::kNone);
      }
    }
    return layers;
  }

 private:
  struct Use {
    std::string_view slot;
    std::size_t material;  // of the node
    std::int32_t number;
  };
  std::vector<int> _textures;
  BtHashMap<int, std::int32_t> _numbers;
  std::vector<Use> _uses;
};

std::string FrameRateText(const KFbxFrameRate& rate) {
  // A scene that does not state its rate is shown at the usual one.
  if (rate.GetTimeMode() == eDEFAULT_MODE) return "30";
  std::array<char, 40> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), rate.GetFrameRate());
  return {text.data(), result.ptr};
}

}  // namespace

FbxDocument61::FbxDocument61(FbxRecordSink* sink_in, const FbxDocumentSource& source_in)
    : FbxDocument(sink_in, source_in, FbxFamily::e61) {}

void FbxDocument61::write() {
  writeHeaderExtension(kVersion);
  writeIdentity();
  sink.open("Document");
  sink.leaf("Name", "");
  sink.end();
  sink.open("References");
  sink.end();
  _writeDefinitions();
  _writeObjects();
  _writeConnections();
  _writeTakes();
  _writeVersion5();
  sink.endSection();
  if (!sink.isBinary()) return;
  // A second section repeats what a program shows before it opens the file.
  writeIdentity();
  _writeSummary();
  sink.endSection();
}

void FbxDocument61::_writeDefinitions() {
  struct ObjectType {
    std::string_view name;
    std::size_t count;
  };
  std::size_t deformers = content.skins.size();
  for (const auto& skin : content.skins) deformers += skin.clusters.size();
  const ObjectType types[] = {
      {"Model", content.models.size()},
      {"Material", content.materials.size()},
      {"Texture", content.textures.size()},
      {"Video", content.videos.size()},
      {"SceneInfo", 1},
      {"Pose", content.poses.size()},
      {"Deformer", deformers},
      {"GlobalSettings", 1},
  };
  std::size_t sum = 0;
  for (const ObjectType& type : types) sum += type.count;
  sink.open("Definitions");
  sink.leaf("Version", std::int32_t{100});
  sink.leaf("Count", static_cast<std::int32_t>(sum));
  for (const ObjectType& type : types) {
    if (type.count == 0) continue;
    sink.open("ObjectType", type.name);
    sink.leaf("Count", static_cast<std::int32_t>(type.count));
    sink.end();
  }
  sink.end();
}

void FbxDocument61::_writeObjects() {
  sink.open("Objects");
  for (const auto& model : content.models) {
    if (!sink.ok()) break;
    _writeModel(model);
  }
  writeSceneInfo();
  writePoses();
  writeMaterials();
  _writeDeformers();
  for (const auto& video : content.videos) _writeVideo(video);
  writeTextures();
  writeGlobalSettings();
  sink.end();
}

void FbxDocument61::_writeModel(const FbxSceneContent::Model& model) {
  constexpr std::string_view kOfAttribute = "N";
  const bool has_attribute = model.attribute != FbxSceneContent::kNone;
  const KFbxMesh* mesh = model.node->GetMesh();
  openObject("Model", {model.id, {model.name, "Model"}}, FbxModelTypeName(*model.node));
  sink.leaf("Version", std::int32_t{232});
  FbxPropertyWriter list = properties();
  list.begin();
  writeNodeProperties(model, &list);
  if (has_attribute) {
    list.write(mesh == nullptr ? FbxSkeletonProperties() : FbxMeshProperties(), {},
               FbxSelection::eAll, kOfAttribute);
  }
  for (const auto* channel : _channelsOf(model)) {
    list.write({channel->name, FbxPropertyType::eNumber, 0, "A+"},
               channel->channel->DeformPercent.Get(), kOfAttribute);
  }
  list.end();
  sink.leaf("MultiLayer", std::int32_t{0});
  sink.leaf("MultiTake", std::int32_t{1});
  sink.leaf("Shading", 'Y');
  sink.leaf("Culling", "CullingOff");
  if (mesh != nullptr) {
    _writeMesh(model, *mesh);
  } else {
    sink.leaf("TypeFlags", has_attribute ? "Skeleton" : "Null");
  }
  if (has_attribute) {
    const auto& attribute = content.attributes[static_cast<std::size_t>(model.attribute)];
    sink.leaf("NodeAttributeName",
              FbxObjectName{attribute.name, mesh == nullptr ? "NodeAttribute" : "Geometry"});
  }
  sink.end();
}

void FbxDocument61::_writeMesh(const FbxSceneContent::Model& model, const KFbxMesh& mesh) {
  const bool has_materials = !content.materials.empty() && model.node->GetMaterialCount() > 0;
  FbxWriteGeometry(&sink, mesh, has_materials, ModelTextures(*model.node, content).layers(mesh));
  for (const auto* channel : _channelsOf(model)) {
    sink.open("Shape", channel->name);
    FbxWriteShape(&sink, *channel->channel->GetTargetShape());
    sink.end();
  }
}

std::vector<const FbxSceneContent::Channel*> FbxDocument61::_channelsOf(
    const FbxSceneContent::Model& model) const {
  std::vector<const FbxSceneContent::Channel*> channels;
  if (model.attribute == FbxSceneContent::kNone) return channels;
  const auto& attribute = content.attributes[static_cast<std::size_t>(model.attribute)];
  for (const int index : attribute.blend_shapes) {
    const auto& blend_shape = content.blend_shapes[static_cast<std::size_t>(index)];
    for (const auto& channel : blend_shape.channels) channels.push_back(&channel);
  }
  return channels;
}

void FbxDocument61::_writeDeformers() {
  constexpr FbxPropertyRow kClusterProperties[] = {
      {"SrcModelReference", FbxPropertyType::eObject, 0},
  };
  FbxPropertyWriter list = properties();
  for (const auto& skin : content.skins) {
    openObject("Deformer", refer(skin), "Skin");
    sink.leaf("Version", std::int32_t{100});
    list.begin();
    list.end();
    sink.leaf("Link_DeformAcuracy", 50.0);
    sink.end();
    for (const auto& cluster : skin.clusters) {
      openObject("Deformer", refer(cluster), "Cluster");
      sink.leaf("Version", std::int32_t{100});
      list.begin();
      list.write(kClusterProperties);
      list.end();
      writeClusterWeights(*cluster.cluster);
      sink.end();
    }
  }
}

void FbxDocument61::_writeVideo(const FbxSceneContent::Video& entry) {
  const std::string file_name = FbxText(entry.video->GetFileName());
  const FbxSetting settings[] = {{"Path", file_name}};
  openObject("Video", refer(entry), "Clip");
  sink.leaf("Type", "Clip");
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(FbxVideoProperties(), settings);
  list.end();
  sink.leaf("UseMipMap", std::int32_t{0});
  sink.leaf("Version", std::int32_t{101});
  sink.leaf("OriginalFormat", std::int32_t{1});
  sink.leaf("OriginalFilename", file_name);
  sink.leaf("Filename", file_name);
  sink.leaf("RelativeFilename", FbxText(entry.video->GetRelativeFileName()));
  writeContent(entry);
  sink.end();
}

void FbxDocument61::_writeConnections() {
  sink.open("Connections");
  for (const int top : content.top_models) connect(modelAt(top), modelAt(FbxSceneContent::kNone));
  for (int i = 0; i < static_cast<int>(content.models.size()); ++i) {
    if (!sink.ok()) break;
    _connectModel(i);
  }
  for (const auto& entry : content.skins) {
    const auto& attribute = content.attributes[static_cast<std::size_t>(entry.attribute)];
    connect(refer(entry), modelAt(attribute.model));
    for (const auto& cluster : entry.clusters) {
      connect(refer(cluster), refer(entry));
      connect(modelAt(cluster.link), refer(cluster));
    }
  }
  for (const auto& texture : content.textures) writeTextureConnection(texture);
  sink.end();
}

void FbxDocument61::_connectModel(int index) {
  const auto& model = content.models[static_cast<std::size_t>(index)];
  const Reference parent = modelAt(index);
  // Polygons number the materials, and layer elements the textures, by the order of these.
  for (int i = 0; i < model.node->GetMaterialCount(); ++i) {
    const int material = content.materialOf(model.node->GetMaterial(i));
    if (material == FbxSceneContent::kNone) continue;
    connect(refer(content.materials[static_cast<std::size_t>(material)]), parent);
  }
  const ModelTextures shown(*model.node, content);
  for (const int texture : shown.textures()) {
    connect(refer(content.textures[static_cast<std::size_t>(texture)]), parent);
  }
  for (const int child : model.children) connect(modelAt(child), parent);
}

void FbxDocument61::_writeTakes() {
  sink.open("Takes");
  sink.leaf("Current", currentTake());
  for (const auto& stack : content.anim_stacks) {
    openTake(stack);
    std::span<const FbxSceneContent::AnimCurveNode> rest = stack.curve_nodes;
    while (!rest.empty() && sink.ok()) {
      const auto next = std::find_if(rest.begin(), rest.end(), [&rest](const auto& entry) {
        return entry.model != rest.front().model;
      });
      const auto count = static_cast<std::size_t>(next - rest.begin());
      _writeTakeModel(rest.first(count));
      rest = rest.subspan(count);
    }
    sink.end();
  }
  sink.end();
}

void FbxDocument61::_writeTakeModel(std::span<const FbxSceneContent::AnimCurveNode> of_model) {
  sink.open("Model", modelAt(of_model.front().model).name);
  sink.leaf("Version", 1.1);
  const auto percents = std::find_if(of_model.begin(), of_model.end(),
                                     [](const auto& entry) { return entry.channel != nullptr; });
  if (percents != of_model.begin()) sink.open("Channel", "Transform");
  for (auto entry = of_model.begin(); entry != percents; ++entry) {
    FbxWriteTransformChannel(&sink, *entry->curve_node);
  }
  if (percents != of_model.begin()) sink.end();
  for (auto entry = percents; entry != of_model.end(); ++entry) {
    FbxWriteChannel(&sink, entry->channel->name, *entry->curve_node->GetCurve(0));
  }
  sink.end();
}

void FbxDocument61::_writeVersion5() {
  sink.open("Version5");
  sink.open("AmbientRenderSettings");
  sink.leaf("Version", std::int32_t{101});
  sink.leaf("AmbientLightColor", 0.0, 0.0, 0.0, 1.0);
  sink.end();
  sink.open("FogOptions");
  sink.leaf("FlogEnable", std::int32_t{0});  // spelled so in the format
  sink.leaf("FogMode", std::int32_t{0});
  sink.leaf("FogDensity", 0.002);
  sink.leaf("FogStart", 0.3);
  sink.leaf("FogEnd", 1000.0);
  sink.leaf("FogColor", 1.0, 1.0, 1.0, 1.0);
  sink.end();
  sink.open("Settings");
  sink.leaf("FrameRate", FrameRateText(content.frame_rate));
  sink.leaf("TimeFormat", std::int32_t{1});
  sink.leaf("SnapOnFrames", std::int32_t{0});
  sink.leaf("ReferenceTimeIndex", std::int32_t{-1});
  sink.leaf("TimeLineStartTime", content.time_start);
  sink.leaf("TimeLineStopTime", content.time_stop);
  sink.end();
  sink.open("RendererSetting");
  sink.leaf("DefaultCamera", "");
  sink.leaf("DefaultViewingMode", std::int32_t{0});
  sink.end();
  sink.end();
}

void FbxDocument61::_writeSummary() {
  sink.open("Summary");
  sink.leaf("Version", std::int32_t{101});
  sink.leaf("Template", std::int32_t{0});
  sink.leaf("PasswordProtection", std::int32_t{0});
  sink.open("ContentCount");
  sink.leaf("Version", "100");  // a text here, unlike all other versions
  sink.leaf("Model", static_cast<std::int32_t>(content.models.size()));
  for (const char* kind : {"Device", "Character", "Actor", "Constraint", "Media"}) {
    sink.leaf(kind, std::int32_t{0});
  }
  sink.end();
  writeSceneInfo();
  sink.open("Takes");
  sink.leaf("Version", std::int32_t{101});
  sink.leaf("Current", "");
  for (const auto& stack : content.anim_stacks) {
    sink.open("Take", stack.name);
    writeTakeTimes(stack);
    sink.end();
  }
  sink.end();
  sink.end();
}
