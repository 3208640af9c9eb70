// FbxDocument: turns the content of a scene into records. One class per family; what the families
// share is here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fbxcreationtime.h"
#include "fbxproperties.h"
#include "fbxrecordsink.h"
#include "fbxscenecontent.h"

class KFbxXMatrix;

// What a document is written from.
struct FbxDocumentSource {
  KFbxScene* scene;
  const FbxSceneContent* content;
  FbxCreationTime creation_time;
  bool embed_media;
};

class FbxDocument {
 public:
  virtual ~FbxDocument() = default;
  FbxDocument(const FbxDocument&) = delete;
  FbxDocument& operator=(const FbxDocument&) = delete;

  // Writes all records. A picture that cannot be embedded is a recorded warning.
  virtual void write() = 0;

 protected:
  FbxDocument(FbxRecordSink* sink, const FbxDocumentSource& source, FbxFamily family);

  // How objects are referred to: by id in the newer family, by name in the older one.
  struct Reference {
    std::int64_t id;
    FbxObjectName name;
  };
  void openObject(std::string_view record, const Reference& object, std::string_view subtype);
  void addReference(const Reference& object);
  // Hangs a child under a parent; with a property, the child drives that.
  void connect(const Reference& child, const Reference& parent, std::string_view property = "");

  [[nodiscard]] Reference modelAt(int index) const;  // kNone for the root
  [[nodiscard]] static Reference refer(const FbxSceneContent::Material& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Texture& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Video& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Skin& entry);
  [[nodiscard]] static Reference refer(const FbxSceneContent::Cluster& entry);

  void writeHeaderExtension(std::int32_t version);
  void writeIdentity();
  void writeSceneInfo();
  void writeGlobalSettings();
  void writeMatrix(std::string_view name, const KFbxXMatrix& matrix);
  void writeNodeProperties(const FbxSceneContent::Model& model, FbxPropertyWriter* properties);
  void writePoses();
  void writeMaterials();
  void writeClusterWeights(const KFbxCluster& cluster);
  void writeTextures();
  void writeContent(const FbxSceneContent::Video& video);
  void writeTextureConnection(const FbxSceneContent::Texture& texture);
  // The name of the take that programs show at first; empty where there is none.
  [[nodiscard]] std::string_view currentTake() const;
  // Opens the record of a take and says when it begins and ends.
  void openTake(const FbxSceneContent::AnimStack& stack);
  void writeTakeTimes(const FbxSceneContent::AnimStack& stack);

  [[nodiscard]] FbxPropertyWriter properties() const { return {&sink, family}; }
  // What an object's own list holds of its table.
  [[nodiscard]] FbxSelection selection() const {
    return family == FbxFamily::e71 ? FbxSelection::eChanged : FbxSelection::eAll;
  }

  FbxRecordSink& sink;
  const FbxDocumentSource& source;
  const FbxSceneContent& content;
  const FbxFamily family;
};

// The newer family: objects with ids, file version 7100.
class FbxDocument71 : public FbxDocument {
 public:
  static constexpr std::int32_t kVersion = 7100;
  // Bytes of a binary file that a model takes at the least, whatever it is.
  static constexpr std::uint64_t kFewestModelBytes = 200;
  FbxDocument71(FbxRecordSink* sink, const FbxDocumentSource& source);
  void write() override;

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

// The older family: objects by name, meshes inside their models, file version 6100.
class FbxDocument61 : public FbxDocument {
 public:
  static constexpr std::int32_t kVersion = 6100;
  static constexpr std::uint64_t kFewestModelBytes = 5000;  // as above
  FbxDocument61(FbxRecordSink* sink, const FbxDocumentSource& source);
  void write() override;

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
