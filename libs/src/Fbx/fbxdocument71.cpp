#include <cstddef>
#include <iterator>

#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxskeleton.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "fbxanimationrecords.h"
#include "fbxdocument.h"
#include "fbxgeometryrecords.h"

void FbxWriteDocument71(FbxRecordSink* sink, const FbxDocumentSource& source) {
  FbxDocument71(sink, source).write();
}

void FbxDocument71::write() {
  openHeaderExtension();
  writeSceneInfo();
  _sink.end();
  // Texts have the creator in the header only.
  if (_sink.isBinary()) writeIdentity();
  writeGlobalSettings();
  _writeDocuments();
  _sink.open("References");
  _sink.end();
  _writeDefinitions();
  _writeObjects();
  _writeConnections();
  _writeTakes();
  _sink.endSection();
}

void FbxDocument71::_writeDocuments() {
  const FbxPropertyRow properties_of_document[] = {
      {"SourceObject", FbxPropertyType::eObject, 0},
      {"ActiveAnimStackName", FbxPropertyType::eString, currentTake()},
  };
  _sink.open("Documents");
  _sink.leaf("Count", std::int32_t{1});
  _sink.open("Document", _content.document_id, FbxText(_source.scene->GetName()), "Scene");
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(properties_of_document);
  list.end();
  _sink.leaf("RootNode", std::int64_t{0});
  _sink.end();
  _sink.end();
}

void FbxDocument71::_writeDefinitions() {
  struct ObjectType {
    std::string_view name;
    int count;
    std::string_view template_name;  // empty for types without a template
    std::span<const FbxPropertyRow> table;
  };
  const int meshes = _content.meshCount();
  const auto size = [](const auto& list) { return static_cast<int>(list.size()); };
  const int stacks = size(_content.anim_stacks);
  const ObjectType types[] = {
      {"GlobalSettings", 1, "", {}},
      {"Geometry", meshes + _content.shapeCount(), "KFbxMesh", FbxMeshProperties()},
      {"Material", size(_content.materials), "KFbxSurfacePhong", FbxPhongProperties()},
      {"Model", size(_content.models), "KFbxNode", FbxNodeProperties()},
      {"NodeAttribute", size(_content.attributes) - meshes, "KFbxSkeleton",
       FbxSkeletonProperties()},
      {"Pose", size(_content.poses), "", {}},
      {"Deformer", size(_content.skins) + size(_content.blend_shapes), "", {}},
      {"SubDeformer", _content.subDeformerCount(), "KFbxCluster", FbxClusterProperties()},
      {"Texture", size(_content.textures), "KFbxTexture", FbxTextureProperties()},
      {"Video", size(_content.videos), "KFbxVideo", FbxVideoProperties()},
      {"CollectionExclusive", size(_content.display_layers), "", {}},
      {"AnimationStack", stacks, "KFbxAnimStack", FbxAnimStackProperties()},
      {"AnimationLayer", stacks, "KFbxAnimLayer", FbxAnimLayerProperties()},
      {"AnimationCurveNode", _content.animCurveNodeCount(), "", {}},
      {"AnimationCurve", _content.animCurveCount(), "", {}},
  };
  std::int32_t sum = 0;
  for (const ObjectType& type : types) sum += type.count;
  _sink.open("Definitions");
  _sink.leaf("Version", std::int32_t{100});
  _sink.leaf("Count", sum);
  for (const ObjectType& type : types) {
    // Readers skip objects of types that are not listed.
    if (type.count > 0) _writeObjectType(type.name, type.count, type.template_name, type.table);
  }
  _sink.end();
}

void FbxDocument71::_writeObjectType(std::string_view type, int count,
                                     std::string_view template_name,
                                     std::span<const FbxPropertyRow> table) {
  _sink.open("ObjectType", type);
  _sink.leaf("Count", count);
  if (!template_name.empty()) {
    _sink.open("PropertyTemplate", template_name);
    FbxPropertyWriter list = properties();
    list.begin();
    list.write(table);
    list.end();
    _sink.end();
  }
  _sink.end();
}

void FbxDocument71::_writeObjects() {
  _sink.open("Objects");
  for (const auto& attribute : _content.attributes) {
    if (!_sink.ok()) break;
    _writeAttribute(attribute);
  }
  _writeShapes();
  for (const auto& model : _content.models) {
    if (!_sink.ok()) break;
    _writeModel(model);
  }
  writePoses();
  writeMaterials();
  _writeDeformers();
  for (const auto& video : _content.videos) _writeVideo(video);
  writeTextures();
  writeDisplayLayers();
  for (const auto& stack : _content.anim_stacks) _writeAnimation(stack);
  _sink.end();
}

void FbxDocument71::_writeAttribute(const FbxSceneContent::Attribute& attribute) {
  const KFbxMesh* mesh = attribute.mesh();
  if (mesh == nullptr) {
    openObject("NodeAttribute", _refer(attribute), FbxSkeletonTypeName(*attribute.attribute));
    FbxPropertyWriter list = properties();
    list.begin();
    list.write({"Size", FbxPropertyType::eDouble, 100}, attribute.skeleton()->Size.Get());
    list.end();
    _sink.leaf("TypeFlags", "Skeleton");
  } else {
    const auto& model = _content.models[static_cast<std::size_t>(attribute.model)];
    openObject("Geometry", _refer(attribute), "Mesh");
    FbxWriteGeometry(&_sink, *mesh, materialsOf(model));
  }
  _sink.end();
}

void FbxDocument71::_writeShapes() {
  for (const auto& blend_shape : _content.blend_shapes) {
    for (const auto& channel : blend_shape.channels) {
      openObject("Geometry", _shapeOf(channel), "Shape");
      _sink.leaf("Version", std::int32_t{100});
      FbxWriteShape(&_sink, *channel.channel->GetTargetShape());
      _sink.end();
    }
  }
}

void FbxDocument71::_writeModel(const FbxSceneContent::Model& model) {
  openObject("Model", {model.id, {model.name, "Model"}}, FbxModelTypeName(*model.node));
  _sink.leaf("Version", std::int32_t{232});
  FbxPropertyWriter list = properties();
  list.begin();
  writeNodeProperties(model, &list);
  list.end();
  writeModelFlags();
  _sink.end();
}

void FbxDocument71::_writeDeformers() {
  for (const auto& skin : _content.skins) {
    openObject("Deformer", refer(skin), "Skin");
    _sink.leaf("Version", std::int32_t{100});
    _sink.leaf("Link_DeformAcuracy", 50.0);
    _sink.end();
    for (const auto& cluster : skin.clusters) {
      openObject("Deformer", refer(cluster), "Cluster");
      _sink.leaf("Version", std::int32_t{100});
      writeClusterWeights(*cluster.cluster);
      _sink.end();
    }
  }
  for (const auto& blend_shape : _content.blend_shapes) {
    openObject("Deformer", _refer(blend_shape), "BlendShape");
    _sink.leaf("Version", std::int32_t{100});
    _sink.end();
    for (const auto& channel : blend_shape.channels) {
      constexpr double kFullWeight[] = {100.0};
      openObject("Deformer", _refer(channel), "BlendShapeChannel");
      _sink.leaf("Version", std::int32_t{100});
      _sink.leaf("DeformPercent", channel.channel->DeformPercent.Get());
      _sink.leaf("FullWeights", std::span<const double>(kFullWeight));
      _sink.end();
    }
  }
}

void FbxDocument71::_writeVideo(const FbxSceneContent::Video& entry) {
  const std::string file_name = FbxText(entry.video->GetFileName());
  const FbxSetting settings[] = {{"Path", file_name}};
  openObject("Video", refer(entry), "Clip");
  _sink.leaf("Type", "Clip");
  FbxPropertyWriter list = properties();
  list.begin();
  list.write(FbxVideoProperties(), settings, _family.selection);
  list.end();
  _sink.leaf("UseMipMap", std::int32_t{0});
  _sink.leaf("Filename", file_name);
  _sink.leaf("RelativeFilename", relativeNameOf(*entry.video));
  writeContent(entry);
  _sink.end();
}

void FbxDocument71::_writeConnections() {
  _sink.open("Connections");
  for (const int top : _content.top_models) connect(modelAt(top), modelAt(FbxSceneContent::kNone));
  for (const auto& model : _content.models) {
    if (!_sink.ok()) break;
    _connectModel(model);
  }
  _connectTextures();
  _connectDeformers();
  connectDisplayLayers();
  for (const auto& stack : _content.anim_stacks) _connectAnimation(stack);
  _sink.end();
}

void FbxDocument71::_connectModel(const FbxSceneContent::Model& model) {
  const Reference parent = {model.id, {model.name, "Model"}};
  if (model.attribute != FbxSceneContent::kNone) {
    connect(_refer(_content.attributes[static_cast<std::size_t>(model.attribute)]), parent);
  }
  // Polygons number the materials by the order of these.
  for (int i = 0; i < model.node->GetMaterialCount(); ++i) {
    const int material = _content.materialOf(model.node->GetMaterial(i));
    if (material == FbxSceneContent::kNone) continue;
    connect(refer(_content.materials[static_cast<std::size_t>(material)]), parent);
  }
  connectChildren(model, parent);
}

void FbxDocument71::_connectTextures() {
  for (const auto& material : _content.materials) {
    for (const auto& [texture, slot] : material.material->GetTextures()) {
      const int index = _content.textureOf(texture);
      if (index == FbxSceneContent::kNone) continue;
      connect(refer(_content.textures[static_cast<std::size_t>(index)]), refer(material), slot);
    }
  }
  for (const auto& texture : _content.textures) writeTextureConnection(texture);
}

void FbxDocument71::_connectDeformers() {
  const auto geometry = [this](int attribute) {
    return _refer(_content.attributes[static_cast<std::size_t>(attribute)]);
  };
  for (const auto& skin : _content.skins) {
    connect(refer(skin), geometry(skin.attribute));
    for (const auto& cluster : skin.clusters) {
      connect(refer(cluster), refer(skin));
      connect(modelAt(cluster.link), refer(cluster));
    }
  }
  for (const auto& blend_shape : _content.blend_shapes) {
    connect(_refer(blend_shape), geometry(blend_shape.attribute));
    for (const auto& channel : blend_shape.channels) {
      connect(_refer(channel), _refer(blend_shape));
      connect(_shapeOf(channel), _refer(channel));
    }
  }
}

void FbxDocument71::_writeAnimation(const FbxSceneContent::AnimStack& stack) {
  const auto start = static_cast<double>(stack.stack->LocalStart.Get());
  const auto stop = static_cast<double>(stack.stack->LocalStop.Get());
  const FbxSetting times[] = {{"LocalStart", start},
                              {"LocalStop", stop},
                              {"ReferenceStart", start},
                              {"ReferenceStop", stop}};
  openObject("AnimationStack", _refer(stack), "");
  FbxPropertyWriter list = properties();
  list.begin();
  // Readers want the times also where they are those of the template.
  list.write(FbxAnimStackProperties().subspan(1), times);
  list.end();
  _sink.end();
  openObject("AnimationLayer", _layerOf(stack), "");
  _sink.end();
  for (const auto& entry : stack.curve_nodes) _writeCurveNode(entry);
  for (const auto& entry : stack.curve_nodes) {
    for (int i = 0; i < entry.curve_node->GetCurveCount() && _sink.ok(); ++i) {
      openObject("AnimationCurve",
                 {entry.curve_ids[static_cast<std::size_t>(i)], {"", "AnimCurve"}}, "");
      FbxWriteCurve(&_sink, *entry.curve_node, i);
      _sink.end();
    }
  }
}

void FbxDocument71::_writeCurveNode(const FbxSceneContent::AnimCurveNode& entry) {
  const FbxAnimatedProperty& property = FbxAnimated(entry.curve_node->GetProperty());
  openObject("AnimationCurveNode", _refer(entry), "");
  FbxPropertyWriter list = properties();
  list.begin();
  list.write({"d", FbxPropertyType::eCompound, 0}, 0);
  for (int i = 0; i < entry.curve_node->GetCurveCount(); ++i) {
    const float value = entry.curve_node->GetCurve(i)->GetKeyValues().front();
    list.write({property.curves[i], FbxPropertyType::eNumber, 0, "A+"}, static_cast<double>(value));
  }
  list.end();
  _sink.end();
}

void FbxDocument71::_connectAnimation(const FbxSceneContent::AnimStack& stack) {
  connect(_layerOf(stack), _refer(stack));
  for (const auto& entry : stack.curve_nodes) {
    const FbxAnimatedProperty& property = FbxAnimated(entry.curve_node->GetProperty());
    connect(_refer(entry), _layerOf(stack));
    connect(_refer(entry), entry.channel == nullptr ? modelAt(entry.model) : _refer(*entry.channel),
            property.name);
    for (int i = 0; i < entry.curve_node->GetCurveCount(); ++i) {
      connect({entry.curve_ids[static_cast<std::size_t>(i)], {"", "AnimCurve"}}, _refer(entry),
              property.curves[i]);
    }
  }
}

void FbxDocument71::_writeTakes() {
  _sink.open("Takes");
  _sink.leaf("Current", currentTake());
  for (const auto& stack : _content.anim_stacks) {
    openTake(stack);
    _sink.end();
  }
  _sink.end();
}

FbxDocument::Reference FbxDocument71::_refer(const FbxSceneContent::Attribute& entry) {
  return {entry.id, {entry.name, entry.mesh() == nullptr ? "NodeAttribute" : "Geometry"}};
}

FbxDocument::Reference FbxDocument71::_refer(const FbxSceneContent::BlendShape& entry) {
  return {entry.id, {entry.name, "Deformer"}};
}

FbxDocument::Reference FbxDocument71::_refer(const FbxSceneContent::Channel& entry) {
  return {entry.id, {entry.name, "SubDeformer"}};
}

FbxDocument::Reference FbxDocument71::_refer(const FbxSceneContent::AnimStack& entry) {
  return {entry.id, {entry.name, "AnimStack"}};
}

FbxDocument::Reference FbxDocument71::_layerOf(const FbxSceneContent::AnimStack& entry) {
  return {entry.layer_id, {"BaseLayer", "AnimLayer"}};
}

FbxDocument::Reference FbxDocument71::_refer(const FbxSceneContent::AnimCurveNode& entry) {
  return {entry.id, {entry.curve_node->GetName(), "AnimCurveNode"}};
}

FbxDocument::Reference FbxDocument71::_shapeOf(const FbxSceneContent::Channel& entry) {
  return {entry.shape_id, {entry.name, "Geometry"}};
}
