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

// Which of a model's textures each polygon shows in one slot; -1 for none.
struct FbxTextureLayer {
  std::string_view element;  // the record's name, such as "LayerElementTexture"
  std::vector<std::int32_t> texture_of_polygon;
};

void FbxWriteGeometry(FbxRecordSink* sink, const KFbxMesh& mesh, bool has_materials,
                      const std::vector<FbxTextureLayer>& texture_layers = {});

// The indices and offsets of a blend shape.
void FbxWriteShape(FbxRecordSink* sink, const KFbxShape& shape);
