#include "faces.h"

#include <array>
#include <string_view>
#include <utility>

#include "Ba/bamdbody.h"
#include "Ba/bamdgeometry.h"
#include "Ba/bamdmaterialgroup.h"
#include "Ba/bamdvertices.h"
#include "Ba/bamodeldata.h"
#include "Bt/bthash.h"
#include "accuracy.h"

namespace {

// A corner of a face: 0-based indices; a coordinate below 0 means that there is none.
struct Corner {
  int vertex;
  int coord;
};

Corner CornerOf(int vertex) { return {vertex - 1, -1}; }
Corner CornerOf(const BaMDTexturedCorner& corner) { return {corner.vertex - 1, corner.coord - 1}; }

// The geometries that make faces, without their points yet.
std::vector<Faces::Part> PartsOf(const BaModelData& model_data, const MeshBodies& bodies) {
  std::vector<Faces::Part> parts;
  parts.reserve(bodies.count());
  for (std::size_t i = 0; i < bodies.count(); ++i) {
    for (const BaMDGeometry* geometry : model_data.geometriesOf(*bodies[i].body)) {
      if (!geometry->hasPolygons()) continue;  // bones only
      const BaMDVertices* vertices = model_data.vertexSetByName(geometry->verticesName());
      if (vertices != nullptr) parts.push_back({geometry, vertices, static_cast<int>(i), 0});
    }
  }
  return parts;
}

// How much of everything the faces of some geometries are at most.
struct Amount {
  std::size_t points = 0;
  std::size_t coords = 0;
  std::size_t corners = 0;
  std::size_t faces = 0;
  bool textured = false;

  void add(const Faces::Part& part) {
    points += static_cast<std::size_t>(part.vertices->coordinates().size());
    coords += static_cast<std::size_t>(part.geometry->textureCoords().size());
    for (const BaMDMaterialGroup* group : part.geometry->materialGroups()) {
      textured = textured || group->texturedPolygons().count() > 0 ||
                 group->texturedTriangleStrips().count() > 0;
      _addPolygons(group->polygons());
      _addPolygons(group->texturedPolygons());
      _addStrips(group->triangleStrips());
      _addStrips(group->texturedTriangleStrips());
    }
  }

 private:
  template <class Lists>
  void _addPolygons(const Lists& polygons) {
    corners += polygons.entries().size();
    faces += static_cast<std::size_t>(polygons.count());
  }
  // A triangle for each corner but the first two of a strip.
  template <class Lists>
  void _addStrips(const Lists& strips) {
    corners += 3 * strips.entries().size();
    faces += strips.entries().size();
  }
};

class Gatherer {
 public:
  Gatherer(float scale_factor, const Amount& amount)
      : _scale(static_cast<double>(scale_factor)), _textured(amount.textured) {
    _faces.points.reserve(3 * amount.points);
    _faces.uvs.reserve(2 * amount.coords);
    _faces.corners.reserve(amount.corners);
    if (_textured) _faces.corner_uvs.reserve(amount.corners);
    _faces.face_materials.reserve(amount.faces);
  }

  void add(const KFbxXMatrix& to_mesh, Faces::Part* part) {
    _first_point = static_cast<int>(_faces.pointCount());
    _first_uv = static_cast<int>(_faces.uvs.size() / 2);
    part->first_point = _first_point;
    _addPoints(*part->vertices, to_mesh);
    for (const BaTextureCoords& coords : part->geometry->textureCoords()) {
      _faces.uvs.push_back(coords.u);
      _faces.uvs.push_back(coords.v);
    }
    for (const BaMDMaterialGroup* group : part->geometry->materialGroups()) _addGroup(*group);
  }

  Faces take(std::vector<Faces::Part> parts) {
    _faces.parts = std::move(parts);
    return std::move(_faces);
  }

 private:
  void _addPoints(const BaMDVertices& vertices, const KFbxXMatrix& to_mesh) {
    for (const BaMDPoint& p : vertices.coordinates()) {
      const KFbxVector4 place =
          to_mesh.MultT({static_cast<double>(p.x) * _scale, static_cast<double>(p.y) * _scale,
                         static_cast<double>(p.z) * _scale});
      for (int i = 0; i < 3; ++i) _faces.points.push_back(PointAccuracy(place[i]));
    }
  }

  void _addGroup(const BaMDMaterialGroup& group) {
    _material = -1;
    _material_name = group.material();
    _addPolygons(group.polygons());
    _addPolygons(group.texturedPolygons());
    _addStrips(group.triangleStrips());
    _addStrips(group.texturedTriangleStrips());
  }

  template <class Lists>
  void _addPolygons(const Lists& polygons) {
    for (int i = 0; i < polygons.count(); ++i) {
      const auto polygon = polygons[i];
      if (polygon.size() < 3) continue;
      for (const auto& corner : polygon) _addCorner(CornerOf(corner));
      _endFace();
    }
  }

  // Every second triangle of a strip runs the other way round.
  template <class Lists>
  void _addStrips(const Lists& strips) {
    for (int i = 0; i < strips.count(); ++i) {
      const auto strip = strips[i];
      for (std::size_t k = 2; k < strip.size(); ++k) {
        const std::size_t odd = k % 2;
        _addTriangle(
            {CornerOf(strip[k - 2 + odd]), CornerOf(strip[k - 1 - odd]), CornerOf(strip[k])});
      }
    }
  }

  void _addTriangle(const std::array<Corner, 3>& t) {
    if (t[0].vertex == t[1].vertex || t[1].vertex == t[2].vertex || t[2].vertex == t[0].vertex) {
      return;
    }
    for (const Corner& corner : t) _addCorner(corner);
    _endFace();
  }

  void _addCorner(const Corner& corner) {
    _faces.corners.push_back(_first_point + corner.vertex);
    if (_textured) {
      _faces.corner_uvs.push_back(corner.coord < 0 ? -1 : _first_uv + corner.coord);
    }
  }

  void _endFace() {
    _faces.corners.back() = -_faces.corners.back() - 1;
    if (_material < 0) _material = _materialIndex();
    _faces.face_materials.push_back(_material);
  }

  // The mesh's index of the current group's material, which is entered on its first face.
  int _materialIndex() {
    const auto [entry, is_new] =
        _material_indices.try_emplace(_material_name, static_cast<int>(_faces.materials.size()));
    if (is_new) _faces.materials.push_back(_material_name);
    return entry->second;
  }

  double _scale;
  bool _textured;
  Faces _faces;
  int _first_point = 0;  // of the geometry at hand
  int _first_uv = 0;     // of the geometry at hand
  int _material = -1;    // of the group at hand; -1 until it makes a face
  const char* _material_name = nullptr;
  BtHashMap<std::string_view, int> _material_indices;
};

}  // namespace

Faces GatherFaces(const BaModelData& model_data, const MeshBodies& bodies, float scale_factor) {
  std::vector<Faces::Part> parts = PartsOf(model_data, bodies);
  Amount amount;
  for (const Faces::Part& part : parts) amount.add(part);
  Gatherer gatherer(scale_factor, amount);
  for (Faces::Part& part : parts) {
    gatherer.add(bodies.toMesh(static_cast<std::size_t>(part.body)), &part);
  }
  return gatherer.take(std::move(parts));
}
