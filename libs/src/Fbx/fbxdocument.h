// FbxDocument: turns the content of a scene into records. One class per family; what the families
// share is here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fbxcreationtime.h"
#include "fbxdialect.h"
#include "fbxproperties.h"
#include "fbxrecordsink.h"
#include "fbxscenecontent.h"

class KFbxXMatrix;

// What a node is called in the file by its attribute: the sub-type of a bone, such as "LimbNode".
const char* FbxSkeletonTypeName(const KFbxNodeAttribute& attribute);
// The sub-type of a model: that of its bone, "Mesh", or "Null" for a plain transform.
const char* FbxModelTypeName(const KFbxNode& node);

// What a document is written from.
struct FbxDocumentSource {
  KFbxScene* scene;
  const FbxSceneContent* content;
  const FbxDialect* dialect;
  FbxCreationTime creation_time;
  bool embed_media;
  std::string folder;  // in which the file is going to lie; empty where that is not known
};

class FbxDocument {
 public:
  FbxDocument(const FbxDocument&) = delete;
  FbxDocument& operator=(const FbxDocument&) = delete;
  FbxDocument(FbxRecordSink* sink, const FbxDocumentSource& source);

 protected:
  ~FbxDocument() = default;

  // How objects are referred to: by id where the family has ids, otherwise by name.
  struct Reference {
    std::int64_t id;
    FbxObjectName name;
  };
  void openObject(std::string_view record, const Reference& object, std::string_view subtype);
  void addReference(const Reference& object);
  // Hangs a child under a parent; with a property, the child drives that.
  void connect(const Reference& child, const Reference& parent, std::string_view property = "");
  void connectChildren(const FbxSceneContent::Model& model, const Reference& parent);

  [[nodiscard]] Reference modelAt(int index) const;  // kNone for the root
  [[nodiscard]] static Reference refer(const FbxSceneContent::Material& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Texture& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Video& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::DisplayLayer& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Skin& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Cluster& entry);

  // The record stays open for what the families have at its end.
  void openHeaderExtension();
  void writeIdentity();
  void writeSceneInfo();
  void writeGlobalSettings();
  void writeMatrix(std::string_view name, const KFbxXMatrix& matrix);
  void writeNodeProperties(const FbxSceneContent::Model& model, FbxPropertyWriter* properties);
  // How many materials its polygons choose among; none where the file has no materials.
  [[nodiscard]] int materialsOf(const FbxSceneContent::Model& model) const;
  void writeModelFlags();
  void writePoses();
  void writePose(const FbxSceneContent::Pose& entry);
  void writeMaterials();
  void writeClusterWeights(const KFbxCluster& cluster);
  void writeTextures();
  // The name of the picture from where the file lies, which is where readers look for it.
  [[nodiscard]] std::string relativeNameOf(const KFbxVideo& video) const;
  void writeContent(const FbxSceneContent::Video& video);
  void writeDisplayLayers();
  void connectDisplayLayers();
  void writeTextureConnection(const FbxSceneContent::Texture& texture);
  // The name of the take that programs show at first; empty where there is none.
  [[nodiscard]] std::string_view currentTake() const;
  // Opens the record of a take and says when it begins and ends.
  void openTake(const FbxSceneContent::AnimStack& stack);
  void writeTakeTimes(const FbxSceneContent::AnimStack& stack);

  [[nodiscard]] FbxPropertyWriter properties() const { return {&_sink, _family}; }

  FbxRecordSink& _sink;
  const FbxDocumentSource& _source;
  const FbxSceneContent& _content;
  const FbxFamily& _family;
};

// The newer family: objects with ids.
class FbxDocument71 : public FbxDocument {
 public:
  using FbxDocument::FbxDocument;
  void write();

 private:
  void _writeDocuments();
  void _writeDefinitions();
  void _writeObjectType(std::string_view type, int count, std::string_view template_name,
                        std::span<const FbxPropertyRow> table);
  void _writeObjects();
  void _writeAttribute(const FbxSceneContent::Attribute& attribute);
  void _writeShapes();
  void _writeModel(const FbxSceneContent::Model& model);
  void _writeDeformers();
  void _writeVideo(const FbxSceneContent::Video& video);
  void _writeConnections();
  void _connectModel(const FbxSceneContent::Model& model);
  void _connectTextures();
  void _connectDeformers();
  void _writeAnimation(const FbxSceneContent::AnimStack& stack);
  void _writeCurveNode(const FbxSceneContent::AnimCurveNode& entry);
  void _connectAnimation(const FbxSceneContent::AnimStack& stack);
  void _writeTakes();

  [[nodiscard]] static Reference _refer(const FbxSceneContent::Attribute& entry);
  [[nodiscard]] static Reference _refer(const FbxSceneContent::BlendShape& entry);
  [[nodiscard]] static Reference _refer(const FbxSceneContent::Channel& entry);
  [[nodiscard]] static Reference _refer(const FbxSceneContent::AnimStack& entry);
  [[nodiscard]] static Reference _layerOf(const FbxSceneContent::AnimStack& entry);
  [[nodiscard]] static Reference _refer(const FbxSceneContent::AnimCurveNode& entry);
  [[nodiscard]] static Reference _shapeOf(const FbxSceneContent::Channel& entry);
};

// The older family: objects by name, meshes inside their models.
class FbxDocument61 : public FbxDocument {
 public:
  using FbxDocument::FbxDocument;
  void write();

 private:
  void _writeDefinitions();
  void _writeObjects();
  void _writeModel(const FbxSceneContent::Model& model);
  void _writeMesh(const FbxSceneContent::Model& model, const KFbxMesh& mesh);
  [[nodiscard]] std::vector<const FbxSceneContent::Channel*> _channelsOf(
      const FbxSceneContent::Model& model) const;
  void _writeDeformers();
  void _writeVideo(const FbxSceneContent::Video& video);
  void _writeConnections();
  void _connectModel(int index);
  void _writeTakes();
  void _writeTakeModel(std::span<const FbxSceneContent::AnimCurveNode> of_model);
  void _writeVersion5();
  void _writeSummary();
};
