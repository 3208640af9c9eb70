#include "fbxgeometryrecords.h"

#include <span>

#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "fbxrecordsink.h"

namespace {

constexpr std::int32_t kGeometryVersion = 124;
constexpr std::int32_t kElementVersion = 101;
constexpr std::int32_t kSmoothingVersion = 102;
constexpr std::int32_t kLayerVersion = 100;

constexpr std::string_view kUvElement = "LayerElementUV";

constexpr std::string_view kByVertex = "ByVertice";  // spelled so in the format
constexpr std::string_view kByCorner = "ByPolygonVertex";
constexpr std::string_view kByPolygon = "ByPolygon";
constexpr std::string_view kAllSame = "AllSame";
constexpr std::string_view kDirect = "Direct";
constexpr std::string_view kIndexed = "IndexToDirect";

class GeometryWriter {
 public:
  GeometryWriter(FbxRecordSink* sink, const KFbxMesh& mesh) : _sink(*sink), _mesh(mesh) {}

  void write(int materials, const std::vector<FbxTextureLayer>& texture_layers) {
    _list("Vertices", _mesh.GetControlPoints());
    _list("PolygonVertexIndex", _mesh.GetPolygonVertices());
    _sink.leaf("GeometryVersion", kGeometryVersion);
    const std::vector<std::string_view> uv_elements = _uvElements(texture_layers);
    if (_hasNormals()) _writeNormals();
    for (const std::string_view element : uv_elements) _writeUVs(element);
    if (_hasNormals()) _writeSmoothing();
    if (materials > 0) _writeMaterials(materials);
    for (const FbxTextureLayer& layer : texture_layers) _writeTextures(layer);

    // Readers take only the elements that a layer names.
    _sink.open("Layer", std::int32_t{0});
    _sink.leaf("Version", kLayerVersion);
    if (_hasNormals()) _nameElement("LayerElementNormal");
    if (materials > 0) _nameElement("LayerElementMaterial");
    if (_hasNormals()) _nameElement("LayerElementSmoothing");
    for (const FbxTextureLayer& layer : texture_layers) _nameElement(layer.element);
    for (const std::string_view element : uv_elements) _nameElement(element);
    _sink.end();
  }

 private:
  [[nodiscard]] bool _hasNormals() const { return !_mesh.GetNormals().empty(); }

  // The mesh's coordinates, once for itself and once for each layer that wants its own.
  [[nodiscard]] std::vector<std::string_view> _uvElements(
      const std::vector<FbxTextureLayer>& texture_layers) const {
    if (_mesh.GetUVIndices().empty()) return {};
    std::vector<std::string_view> elements = {kUvElement};
    for (const FbxTextureLayer& layer : texture_layers) {
      if (layer.uv_element != kUvElement) elements.push_back(layer.uv_element);
    }
    return elements;
  }

  void _list(std::string_view name, std::span<const double> values) { _sink.leaf(name, values); }
  void _list(std::string_view name, std::span<const std::int32_t> values) {
    _sink.leaf(name, values);
  }

  void _openElement(std::string_view element, std::string_view name, std::string_view mapping,
                    std::string_view reference, std::int32_t version = kElementVersion) {
    _sink.open(element, std::int32_t{0});
    _sink.leaf("Version", version);
    _sink.leaf("Name", name);
    _sink.leaf("MappingInformationType", mapping);
    _sink.leaf("ReferenceInformationType", reference);
  }

  void _writeNormals() {
    const auto& indices = _mesh.GetNormalIndices();
    _openElement("LayerElementNormal", "",
                 _mesh.GetNormalMapping() == KFbxMesh::eBY_CONTROL_POINT ? kByVertex : kByCorner,
                 indices.empty() ? kDirect : kIndexed);
    _list("Normals", _mesh.GetNormals());
    if (!indices.empty()) _list("NormalsIndex", indices);
    _sink.end();
  }

  void _writeUVs(std::string_view element) {
    _openElement(element, _mesh.GetUVSetName(), kByCorner, kIndexed);
    _list("UV", std::vector<double>(_mesh.GetUVs().begin(), _mesh.GetUVs().end()));
    _list("UVIndex", _mesh.GetUVIndices());
    _sink.end();
  }

  // Normals of points go round the edges between polygons, those of corners leave them hard.
  void _writeSmoothing() {
    const bool is_smooth = _mesh.GetNormalMapping() == KFbxMesh::eBY_CONTROL_POINT;
    const std::vector<std::int32_t> groups(static_cast<std::size_t>(_mesh.GetPolygonCount()),
                                           is_smooth ? 1 : 0);
    _openElement("LayerElementSmoothing", "", kByPolygon, kDirect, kSmoothingVersion);
    _list("Smoothing", groups);
    _sink.end();
  }

  // Where there is one material it is that of all polygons.
  void _writeMaterials(int materials) {
    const bool is_one = materials == 1;
    _openElement("LayerElementMaterial", "", is_one ? kAllSame : kByPolygon, kIndexed);
    std::span<const std::int32_t> of_polygons = _mesh.GetPolygonMaterials();
    _list("Materials", is_one && !of_polygons.empty() ? of_polygons.first(1) : of_polygons);
    _sink.end();
  }

  void _writeTextures(const FbxTextureLayer& layer) {
    const bool is_one = layer.textures.size() == 1;
    _openElement(layer.element, "", is_one ? kAllSame : kByPolygon, kIndexed);
    _sink.leaf("BlendMode", "Translucent");
    _sink.leaf("TextureAlpha", 1.0);
    _list("TextureId", layer.textures);
    _sink.end();
  }

  void _nameElement(std::string_view element) {
    _sink.open("LayerElement");
    _sink.leaf("Type", element);
    _sink.leaf("TypedIndex", std::int32_t{0});
    _sink.end();
  }

  FbxRecordSink& _sink;
  const KFbxMesh& _mesh;
};

}  // namespace

void FbxWriteGeometry(FbxRecordSink* sink, const KFbxMesh& mesh, int materials,
                      const std::vector<FbxTextureLayer>& texture_layers) {
  GeometryWriter(sink, mesh).write(materials, texture_layers);
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
