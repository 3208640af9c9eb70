// The records of a mesh: points, polygons and the layers over them. Both families have the same,
// the newer one in an object of its own, the older one inside the model.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

class FbxRecordSink;
class KFbxBlendShapeChannel;
class KFbxMesh;
class KFbxShape;

// Which of a model's textures polygons show in one slot.
struct FbxTextureLayer {
  std::string_view element;            // the record's name, such as "LayerElementTexture"
  std::string_view uv_element;         // of the coordinates that place them
  std::vector<std::int32_t> textures;  // one for all polygons or one for each; -1 for none
};

// `materials` is how many the model has in the file.
void FbxWriteGeometry(FbxRecordSink* sink, const KFbxMesh& mesh, int materials,
                      const std::vector<FbxTextureLayer>& texture_layers = {});

// The indices and offsets of a blend shape.
void FbxWriteShape(FbxRecordSink* sink, const KFbxShape& shape);
