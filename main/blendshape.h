// Blend shapes: the sliders that move the vertices of meshes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "Bt/btflatmap.h"
#include "Bt/bthash.h"
#include "faces.h"

class BaMDSliderGroup;
class BaModelData;
class KFbxMesh;
class KFbxScene;
class KFbxShape;

// Offsets in the mesh's space by control point, in ascending order as files have them.
using PointOffsets = std::map<std::int32_t, std::array<double, 3>>;
// Those of each slider that moves points of a mesh, by its place among all sliders.
using SliderOffsets = std::map<std::size_t, PointOffsets>;

// Builds the blend shapes of one scene. The sliders are put in order once, so that a mesh costs
// what moves its own vertices.
class BlendShapeBuilder {
 public:
  BlendShapeBuilder(KFbxScene* scene, const BaModelData& model_data, float scale_factor);

  [[nodiscard]] SliderOffsets collect(const MeshBodies& bodies, const Faces& faces) const;
  // Adds a deformer per slider group and in it a channel with one target per slider, in the
  // document's order. Groups and sliders that move no vertex of this mesh are left out.
  void addTo(KFbxMesh* mesh, const SliderOffsets& sliders) const;

 private:
  struct Slider {
    const BaMDSliderGroup* group;
    BtStr name;
  };
  // A slider by its group's and its own name.
  using Key = std::pair<BtStr, BtStr>;
  struct KeyHash {
    std::size_t operator()(const Key& key) const {
      return 31 * BtHash()(key.first) + BtHash()(key.second);
    }
  };

  [[nodiscard]] KFbxShape* _createShape(const BtStr& name, const PointOffsets& offsets) const;

  KFbxScene* _scene;
  double _scale_factor;
  std::vector<Slider> _sliders;  // in the document's order
  BtFlatMap<Key, std::size_t, KeyHash> _places;
};
