#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "Bt/bthash.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxanimationrecords.h"
#include "fbxdocument.h"
#include "fbxgeometryrecords.h"
#include "fbxslotelements.h"

namespace {

// The textures of a node's materials, numbered in the order in which they are connected to the
// model.
class ModelTextures {
 public:
  ModelTextures(const KFbxNode& node, const FbxSceneContent& content)
      : _materials(static_cast<std::size_t>(node.GetMaterialCount())) {
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
    for (const FbxSlotElement& slot : kFbxSlotElements) {
      of_material.assign(_materials, FbxSceneContent::kNone);
      bool is_used = false;
      for (const Use& use : _uses) {
        if (use.slot != slot.slot) continue;
        of_material[use.material] = use.number;
        is_used = true;
      }
      if (!is_used) continue;
      FbxTextureLayer& layer =
          layers.emplace_back(FbxTextureLayer{slot.element, slot.uv_element, {}});
      if (std::equal(of_material.begin() + 1, of_material.end(), of_material.begin())) {
        layer.textures = {of_material.front()};
        continue;
      }
      layer.textures.reserve(mesh.GetPolygonMaterials().size());
      for (const std::int32_t material : mesh.GetPolygonMaterials()) {
        layer.textures.push_back(of_material[static_cast<std::size_t>(material)]);
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
  std::size_t _materials;  // of the node
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

void FbxWriteDocument61(FbxRecordSink* sink, const FbxDocumentSource& source) {
  FbxDocument61(sink, source).write();
}

void FbxDocument61::write() {
  openHeaderExtension();
  _sink.end();
  writeIdentity();
  _sink.open("Document");
  _sink.leaf("Name", "");
  _sink.end();
  _sink.open("References");
  _sink.end();
  _writeDefinitions();
  _writeObjects();
  _writeConnections();
  _writeTakes();
  _writeVersion5();
  _sink.endSection();
  if (!_sink.isBinary()) return;
  // A second section repeats what a program shows before it opens the file.
  writeIdentity();
  _writeSummary();
  _sink.endSection();
}

void FbxDocument61::_writeDefinitions() {
  struct ObjectType {
    std::string_view name;
    std::size_t count;
  };
  std::size_t clusters = 0;
  for (const auto& skin : _content.skins) clusters += skin.clusters.size();
  const ObjectType types[] = {
      {"Model", _content.models.size()},
      {"Material", _content.materials.size()},
      {"Texture", _content.textures.size()},
      {"Video", _content.videos.size()},
      {"SceneInfo", 1},
      {"Pose", _content.poses.size()},
      {"Deformer", _content.skins.size()},
      {"SubDeformer", clusters},
      {"CollectionExclusive", _content.display_layers.size()},
      {"GlobalSettings", 1},
  };
  std::size_t sum = 0;
  for (const ObjectType& type : types) sum += type.count;
  _sink.open("Definitions");
  _sink.leaf("Version", std::int32_t{100});
  _sink.leaf("Count", static_cast<std::int32_t>(sum));
  for (const ObjectType& type : types) {
    if (type.count == 0) continue;
    _sink.open("ObjectType", type.name);
    _sink.leaf("Count", static_cast<std::int32_t>(type.count));
    _sink.end();
  }
  _sink.end();
}

void FbxDocument61::_writeObjects() {
  _sink.open("Objects");
  for (const auto& model : _content.models) {
    if (!_sink.ok()) break;
    _writeModel(model);
  }
  writeSceneInfo();
  writePoses();
  writeMaterials();
  _writeDeformers();
  for (const auto& video : _content.videos) _writeVideo(video);
  writeTextures();
  writeDisplayLayers();
  writeGlobalSettings();
  _sink.end();
}

void FbxDocument61::_writeModel(const FbxSceneContent::Model& model) {
  constexpr std::string_view kOfAttribute = "N";
  const bool has_attribute = model.attribute != FbxSceneContent::kNone;
  const KFbxMesh* mesh = model.node->GetMesh();
  openObject("Model", {model.id, {model.name, "Model"}}, FbxModelTypeName(*model.node));
  _sink.leaf("Version", std::int32_t{232});
  FbxPropertyWriter list = properties();
  list.begin();
  writeNodeProperties(model, &list);
  if (mesh != nullptr) {
    list.write(FbxMeshProperties(), {}, FbxSelection::eAll, kOfAttribute);
  } else if (has_attribute) {
    const auto& bone = _content.attributes[static_cast<std::size_t>(model.attribute)];
    const FbxSetting settings[] = {{"Size", bone.skeleton()->Size.Get()}};
    list.write(FbxSkeletonProperties(), settings, FbxSelection::eAll, kOfAttribute);
  }
  for (const auto* channel : _channelsOf(model)) {
    list.write({channel->name, FbxPropertyType::eNumber, 0, "A+"},
               channel->channel->DeformPercent.Get(), kOfAttribute);
  }
  list.end();
  writeModelFlags();
  if (mesh != nullptr) {
    _writeMesh(model, *mesh);
  } else {
    _sink.leaf("TypeFlags", has_attribute ? "Skeleton" : "Null");
  }
  if (has_attribute) {
    const auto& attribute = _content.attributes[static_cast<std::size_t>(model.attribute)];
    _sink.leaf("NodeAttributeName",
               FbxObjectName{attribute.name, mesh == nullptr ? "NodeAttribute" : "Geometry"});
  }
  _sink.end();
}

void FbxDocument61::_writeMesh(const FbxSceneContent::Model& model, const KFbxMesh& mesh) {
  FbxWriteGeometry(&_sink, mesh, materialsOf(model),
                   ModelTextures(*model.node, _content).layers(mesh));
  for (const auto* channel : _channelsOf(model)) {
    _sink.open("Shape", channel->name);
    FbxWriteShape(&_sink, *channel->channel->GetTargetShape());
    _sink.end();
  }
}

std::vector<const FbxSceneContent::Channel*> FbxDocument61::_channelsOf(
    const FbxSceneContent::Model& model) const {
  std::vector<const FbxSceneContent::Channel*> channels;
  if (model.attribute == FbxSceneContent::kNone) return channels;
  const auto& attribute = _content.attributes[static_cast<std::size_t>(model.attribute)];
  for (const auto& blend_shape : _content.blendShapesOf(attribute)) {
    for (const auto& channel : blend_shape.channels) channels.push_back(&channel);
  }
  return channels;
}

void FbxDocument61::_writeDeformers() {
  FbxPropertyWriter list = properties();
  for (const auto& skin : _content.skins) {
    openObject("Deformer", refer(skin), "Skin");
    _sink.leaf("Version", std::int32_t{100});
    list.begin();
    list.end();
    _sink.leaf("Link_DeformAcuracy", 50.0);
    _sink.end();
    for (const auto& cluster : skin.clusters) {
      openObject("Deformer", refer(cluster), "Cluster");
      _sink.leaf("Version", std::int32_t{100});
      list.begin();
      list.write(FbxClusterProperties());
      list.end();
      writeClusterWeights(*cluster.cluster);
      _sink.end();
    }
  }
}

void FbxDocument61::_writeVideo(const FbxSceneContent::Video& entry) {
  const std::string file_name = FbxText(entry.video->GetFileName());
  const FbxSetting settings[] = {{"Path", file_name}};
  openObject("Video", refer(entry), "Clip");
  _sink.leaf("Type", "Clip");
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(FbxVideoProperties(), settings);
  list.end();
  _sink.leaf("UseMipMap", std::int32_t{0});
  _sink.leaf("Version", std::int32_t{101});
  _sink.leaf("OriginalFormat", std::int32_t{1});
  _sink.leaf("OriginalFilename", file_name);
  _sink.leaf("Filename", file_name);
  _sink.leaf("RelativeFilename", relativeNameOf(*entry.video));
  writeContent(entry);
  _sink.end();
}

void FbxDocument61::_writeConnections() {
  _sink.open("Connections");
  for (const int top : _content.top_models) connect(modelAt(top), modelAt(FbxSceneContent::kNone));
  for (int i = 0; i < static_cast<int>(_content.models.size()); ++i) {
    if (!_sink.ok()) break;
    _connectModel(i);
  }
  for (const auto& entry : _content.skins) {
    const auto& attribute = _content.attributes[static_cast<std::size_t>(entry.attribute)];
    connect(refer(entry), modelAt(attribute.model));
    for (const auto& cluster : entry.clusters) {
      connect(refer(cluster), refer(entry));
      connect(modelAt(cluster.link), refer(cluster));
    }
  }
  for (const auto& texture : _content.textures) writeTextureConnection(texture);
  connectDisplayLayers();
  _sink.end();
}

void FbxDocument61::_connectModel(int index) {
  const auto& model = _content.models[static_cast<std::size_t>(index)];
  const Reference parent = modelAt(index);
  // Polygons number the materials, and layer elements the textures, by the order of these.
  for (int i = 0; i < model.node->GetMaterialCount(); ++i) {
    const int material = _content.materialOf(model.node->GetMaterial(i));
    if (material == FbxSceneContent::kNone) continue;
    connect(refer(_content.materials[static_cast<std::size_t>(material)]), parent);
  }
  const ModelTextures shown(*model.node, _content);
  for (const int texture : shown.textures()) {
    connect(refer(_content.textures[static_cast<std::size_t>(texture)]), parent);
  }
  connectChildren(model, parent);
}

void FbxDocument61::_writeTakes() {
  _sink.open("Takes");
  _sink.leaf("Current", currentTake());
  for (const auto& stack : _content.anim_stacks) {
    openTake(stack);
    std::span<const FbxSceneContent::AnimCurveNode> rest = stack.curve_nodes;
    while (!rest.empty() && _sink.ok()) {
      const auto next = std::find_if(rest.begin(), rest.end(), [&rest](const auto& entry) {
        return entry.model != rest.front().model;
      });
      const auto count = static_cast<std::size_t>(next - rest.begin());
      _writeTakeModel(rest.first(count));
      rest = rest.subspan(count);
    }
    _sink.end();
  }
  _sink.end();
}

void FbxDocument61::_writeTakeModel(std::span<const FbxSceneContent::AnimCurveNode> of_model) {
  _sink.open("Model", modelAt(of_model.front().model).name);
  _sink.leaf("Version", 1.1);
  const auto percents = std::find_if(of_model.begin(), of_model.end(),
                                     [](const auto& entry) { return entry.channel != nullptr; });
  if (percents != of_model.begin()) _sink.open("Channel", "Transform");
  for (auto entry = of_model.begin(); entry != percents; ++entry) {
    FbxWriteTransformChannel(&_sink, *entry->curve_node);
  }
  if (percents != of_model.begin()) _sink.end();
  for (auto entry = percents; entry != of_model.end(); ++entry) {
    FbxWriteChannel(&_sink, entry->channel->name, *entry->curve_node->GetCurve(0));
  }
  _sink.end();
}

void FbxDocument61::_writeVersion5() {
  _sink.open("Version5");
  _sink.open("AmbientRenderSettings");
  _sink.leaf("Version", std::int32_t{101});
  _sink.leaf("AmbientLightColor", 0.0, 0.0, 0.0, 1.0);
  _sink.end();
  _sink.open("FogOptions");
  _sink.leaf("FlogEnable", std::int32_t{0});  // spelled so in the format
  _sink.leaf("FogMode", std::int32_t{0});
  _sink.leaf("FogDensity", 0.002);
  _sink.leaf("FogStart", 0.3);
  _sink.leaf("FogEnd", 1000.0);
  _sink.leaf("FogColor", 1.0, 1.0, 1.0, 1.0);
  _sink.end();
  _sink.open("Settings");
  _sink.leaf("FrameRate", FrameRateText(_content.frame_rate));
  _sink.leaf("TimeFormat", std::int32_t{1});
  _sink.leaf("SnapOnFrames", std::int32_t{0});
  _sink.leaf("ReferenceTimeIndex", std::int32_t{-1});
  _sink.leaf("TimeLineStartTime", _content.time_start);
  _sink.leaf("TimeLineStopTime", _content.time_stop);
  _sink.end();
  _sink.open("RendererSetting");
  _sink.leaf("DefaultCamera", "Producer Perspective");
  _sink.leaf("DefaultViewingMode", std::int32_t{0});
  _sink.end();
  _sink.end();
}

void FbxDocument61::_writeSummary() {
  _sink.open("Summary");
  _sink.leaf("Version", std::int32_t{101});
  _sink.leaf("Template", std::int32_t{0});
  _sink.leaf("PasswordProtection", std::int32_t{0});
  _sink.open("ContentCount");
  _sink.leaf("Version", "100");  // a text here, unlike all other versions
  _sink.leaf("Model", static_cast<std::int32_t>(_content.models.size()));
  for (const char* kind : {"Device", "Character", "Actor", "Constraint", "Media"}) {
    _sink.leaf(kind, std::int32_t{0});
  }
  _sink.end();
  writeSceneInfo();
  _sink.open("Takes");
  _sink.leaf("Version", std::int32_t{101});
  _sink.leaf("Current", "");
  for (const auto& stack : _content.anim_stacks) {
    _sink.open("Take", stack.name);
    writeTakeTimes(stack);
    _sink.end();
  }
  _sink.end();
  _sink.end();
}
