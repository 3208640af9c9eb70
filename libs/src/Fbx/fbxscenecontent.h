// FbxSceneContent: everything of a scene that becomes an object of a file, in the order of writing,
// with the names and ids that the file gives it. Documents are written from it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Bt/btflatmap.h"
#include "Fbx/kfbxanimstack.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxiopluginregistry.h"
#include "fbxnames.h"

class KFbxIOSettings;
class KFbxMesh;
class KFbxNode;
class KFbxNodeAttribute;
class KFbxPose;
class KFbxScene;
class KFbxSkeleton;
class KFbxSurfacePhong;
class KFbxTexture;
class KFbxVideo;

// Names are as the file has them; ids are the newer family's. References to other objects are
// indices, from 0, into the vectors of the content.
struct FbxSceneContent {
  static constexpr int kNone = -1;

  struct Attribute {
    KFbxNodeAttribute* attribute;
    std::string name;
    int model;  // the first that carries it
    // Those of a mesh stand in a row.
    int first_blend_shape = 0;
    int blend_shape_count = 0;
    std::int64_t id = 0;
    [[nodiscard]] const KFbxMesh* mesh() const;          // null for another attribute
    [[nodiscard]] const KFbxSkeleton* skeleton() const;  // null for another attribute
  };
  struct Model {
    KFbxNode* node;
    std::string name;
    int parent;     // kNone at the top
    int attribute;  // kNone for a plain transform
    int first_child = kNone;
    int next_sibling = kNone;
    int first_user_name = 0;  // of as many as the node has user properties
    std::int64_t id = 0;
  };
  struct Pose {
    KFbxPose* pose;
    std::string name;
    std::int64_t id = 0;
  };
  struct Material {
    KFbxSurfacePhong* material;
    std::string name;
    std::int64_t id = 0;
  };
  struct Cluster {
    KFbxCluster* cluster;
    std::string name;
    int link;  // model
    std::int64_t id = 0;
  };
  struct Skin {
    std::string name;
    int attribute;  // the mesh
    std::vector<Cluster> clusters;
    std::int64_t id = 0;
  };
  struct Channel {
    KFbxBlendShapeChannel* channel;
    std::string name;  // unique within its mesh
    std::int64_t id = 0;
    std::int64_t shape_id = 0;
  };
  struct BlendShape {
    std::string name;
    int attribute;  // the mesh
    std::vector<Channel> channels;
    std::int64_t id = 0;
  };
  struct Video {
    KFbxVideo* video;
    std::string name;
    std::int64_t id = 0;
  };
  struct Texture {
    KFbxTexture* texture;
    std::string name;
    int video;  // kNone for none
    std::int64_t id = 0;
  };
  struct DisplayLayer {
    std::string name;
    std::vector<int> models;
    std::int64_t id = 0;
  };

  struct AnimCurveNode {
    const KFbxAnimCurveNode* curve_node;
    int model;               // that moves, or whose mesh the channel belongs to
    const Channel* channel;  // null for a property of the model
    std::array<std::int64_t, 3> curve_ids{};
    std::int64_t id = 0;
  };
  struct AnimStack {
    const KFbxAnimStack* stack;
    std::string name;
    std::vector<AnimCurveNode> curve_nodes;  // in the order of the models
    std::int64_t id = 0;
    std::int64_t layer_id = 0;
  };

  // Collects the scene. False, with a recorded error, for a scene that cannot be written: a mesh
  // that contradicts itself, a bone outside of the scene, a number that is not finite. Where
  // objects have no ids in the file, their names tell them apart.
  bool collect(KFbxScene* scene, const KFbxIOSettings& settings, bool has_ids);

  [[nodiscard]] std::span<const BlendShape> blendShapesOf(const Attribute& attribute) const {
    return std::span(blend_shapes)
        .subspan(static_cast<std::size_t>(attribute.first_blend_shape),
                 static_cast<std::size_t>(attribute.blend_shape_count));
  }
  [[nodiscard]] int modelOf(const KFbxNode* node) const;
  [[nodiscard]] int materialOf(const KFbxSurfacePhong* material) const {
    return _find(_materials, material);
  }
  [[nodiscard]] int textureOf(const KFbxTexture* texture) const {
    return _find(_textures, texture);
  }

  std::vector<Attribute> attributes;
  std::vector<Model> models;  // depth first, parents first
  std::vector<int> top_models;
  std::vector<std::string> user_names;  // of the properties of all models
  std::vector<Pose> poses;
  std::vector<Material> materials;  // in the order of first use
  std::vector<Skin> skins;
  std::vector<BlendShape> blend_shapes;
  std::vector<Video> videos;
  std::vector<Texture> textures;
  std::vector<DisplayLayer> display_layers;
  std::vector<AnimStack> anim_stacks;
  // What programs show at first: from the earliest start of a take to the latest end, or a second.
  KTime time_start = 0;
  KTime time_stop = KTIME_ONE_SECOND;
  KFbxFrameRate frame_rate;  // stated where there are takes
  std::int64_t document_id = 0;

  // Objects of the types that the file counts together.
  [[nodiscard]] int meshCount() const;
  [[nodiscard]] int shapeCount() const;
  [[nodiscard]] int subDeformerCount() const;  // clusters and channels
  [[nodiscard]] int animCurveNodeCount() const;
  [[nodiscard]] int animCurveCount() const;

 private:
  using Index = BtFlatMap<const void*, int>;
  [[nodiscard]] static int _find(const Index& index, const void* object) {
    const auto found = index.find(object);
    return found == index.end() ? kNone : found->second;
  }

  bool _collectModels(KFbxNode* root);
  bool _addModel(KFbxNode* node, int parent);
  void _linkModels();
  int _addAttribute(KFbxNodeAttribute* attribute, int model);
  void _collectMaterials(bool with_textures);
  void _addTexture(KFbxTexture* texture);
  bool _collectDeformers(bool with_shapes);
  bool _addDeformers(const KFbxMesh& mesh, int attribute, bool with_shapes);
  bool _addSkin(const KFbxSkin& skin, int attribute);
  bool _addBlendShape(const KFbxBlendShape& blend_shape, int attribute, FbxUniqueNames* names);
  void _collectDisplayLayers(const KFbxScene& scene);
  bool _nameUserProperties();
  [[nodiscard]] bool _hasProperty(const Model& model, const std::string& name) const;
  bool _collectAnimation(const KFbxScene& scene);
  bool _addAnimStack(const KFbxAnimStack& stack);
  void _nameForPeople();
  void _nameForReference();
  void _numberObjects();

  Index _materials;
  Index _textures;
  Index _videos;
  Index _channels;                                            // the place in _all_channels
  std::vector<std::pair<int, const Channel*>> _all_channels;  // each with the model of its mesh
};
