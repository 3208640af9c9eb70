#include "fbxgeometryrecords.h"

#include <span>

#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "fbxrecordsink.h"

namespace {

constexpr std::int32_t kGeometryVersion = 124;
constexpr std::int32_t kElementVersion = 101;
constexpr std::int32_t kLayerVersion = 100;

constexpr std::string_view kByVertex = "ByVertice";  // spelled so in the format
constexpr std::string_view kByCorner = "ByPolygonVertex";
constexpr std::string_view kByPolygon = "ByPolygon";
constexpr std::string_view kDirect = "Direct";
constexpr std::string_view kIndexed = "IndexToDirect";

class GeometryWriter {
 public:
  GeometryWriter(FbxRecordSink* sink, const KFbxMesh& mesh) : _sink(*sink), _mesh(mesh) {}

  void write(bool has_materials, const std::vector<FbxTextureLayer>& texture_layers) {
    list("Vertices", _mesh.GetControlPoints());
    list("PolygonVertexIndex", _mesh.GetPolygonVertices());
    _sink.leaf("GeometryVersion", kGeometryVersion);
    const bool has_normals = !_mesh.GetNormals().empty();
    const bool has_uvs = !_mesh.GetUVIndices().empty();
    if (has_normals) writeNormals();
    if (has_uvs) writeUVs();
    if (has_materials) writeMaterials();
    for (const FbxTextureLayer& layer : texture_layers) writeTextures(layer);

    // Readers take only the elements that a layer names.
    _sink.open("Layer", std::int32_t{0});
    _sink.leaf("Version", kLayerVersion);
    if (has_normals) nameElement("LayerElementNormal");
    if (has_materials) nameElement("LayerElementMaterial");
    for (const FbxTextureLayer& layer : texture_layers) nameElement(layer.element);
    if (has_uvs) nameElement("LayerElementUV");
    _sink.end();
  }

 private:
  void list(std::string_view name, std::span<const double> values) { _sink.leaf(name, values); }
  void list(std::string_view name, std::span<const std::int32_t> values) {
    _sink.leaf(name, values);
  }

  void openElement(std::string_view element, std::string_view name, std::string_view mapping,
                   std::string_view reference) {
    _sink.open(element, std::int32_t{0});
    _sink.leaf("Version", kElementVersion);
    _sink.leaf("Name", name);
    _sink.leaf("MappingInformationType", mapping);
    _sink.leaf("ReferenceInformationType", reference);
  }

  void writeNormals() {
    const auto& indices = _mesh.GetNormalIndices();
    openElement("LayerElementNormal", "",
                _mesh.GetNormalMapping() == KFbxMesh::eBY_CONTROL_POINT ? kByVertex : kByCorner,
                indices.empty() ? kDirect : kIndexed);
    list("Normals", _mesh.GetNormals());
    if (!indices.empty()) list("NormalsIndex", indices);
    _sink.end();
  }

  void writeUVs() {
    openElement("LayerElementUV", _mesh.GetUVSetName(), kByCorner, kIndexed);
    list("UV", _mesh.GetUVs());
    list("UVIndex", _mesh.GetUVIndices());
    _sink.end();
  }

  void writeMaterials() {
    openElement("LayerElementMaterial", "", kByPolygon, kIndexed);
    list("Materials", _mesh.GetPolygonMaterials());
    _sink.end();
  }

  void writeTextures(const FbxTextureLayer& layer) {
    openElement(layer.element, "", kByPolygon, kIndexed);
    _sink.leaf("BlendMode", "Translucent");
    _sink.leaf("TextureAlpha", 1.0);
    list("TextureId", layer.texture_of_polygon);
    _sink.end();
  }

  void nameElement(std::string_view element) {
    _sink.open("LayerElement");
    _sink.leaf("Type", element);
    _sink.leaf("TypedIndex", std::int32_t{0});
    _sink.end();
  }

  FbxRecordSink& _sink;
  const KFbxMesh& _mesh;
};

}  // namespace

void FbxWriteGeometry(FbxRecordSink* sink, const KFbxMesh& mesh, bool has_materials,
                      const std::vector<FbxTextureLayer>& texture_layers) {
  GeometryWriter(sink, mesh).write(has_materials, texture_layers);
}

void FbxWriteShape(FbxRecordSink* sink, const KFbxShape& shape) {
  const std::span<const std::int32_t> indices = shape.GetControlPointIndices();
  const std::span<const double> offsets = shape.GetOffsets();
  // Offsets of the normals: readers want as many as of the points, though they may all be zero.
  const std::vector<double> no_offsets(offsets.size(), 0.0);
  sink->leaf("Indexes", indices);
  sink->leaf("Vertices", offsets);
  sink->leaf("Normals", std::span<const double>(no_offsets));
}
