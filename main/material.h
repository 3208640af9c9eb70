// Materials and textures of the scene.
#pragma once

#include <string>

#include "Bt/bthash.h"
#include "Bt/btstr.h"
#include "picture.h"

class BaMDMaterial;
class BaMDTexture;
class BaModelData;
class KFbxScene;
class KFbxSurfacePhong;
class KFbxVideo;

// Makes each material when the first face uses it, and one video per picture file, however many
// materials show it.
class SceneMaterials {
 public:
  // The name that readers show for the one set of texture coordinates of a mesh.
  static constexpr const char* kUvSet = "map1";

  // Relative names of pictures are looked for in `directory`.
  SceneMaterials(KFbxScene* scene, const BaModelData& model_data, const BtStr& directory);

  // The material of this name in the document.
  KFbxSurfacePhong* material(const char* name);

 private:
  KFbxSurfacePhong* _createMaterial(const BaMDMaterial& md_material);
  void _addTexture(KFbxSurfacePhong* material, const BaMDTexture& md_texture,
                   const BtStr& material_name);
  KFbxVideo* _video(const BtStr& texture_name, const BtStr& material_name);

  KFbxScene* _scene;
  const BaModelData& _model_data;
  BtStr _directory;
  PictureNames _picture_names;
  BtHashMap<std::string, KFbxSurfacePhong*> _materials;  // by name
  BtHashMap<std::string, KFbxVideo*> _videos;            // by path, or by name if missing
};
