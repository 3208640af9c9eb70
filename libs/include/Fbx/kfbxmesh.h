// KFbxMesh: points and polygons of a node. Its arrays stand in memory as the file has them, so that
// a writer hands them on without copies, but for texture coordinates, which are floats in models;
// builders fill them in bulk or polygon by polygon.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Fbx/kfbxobject.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxDeformer;

class KFbxMesh : public KFbxCreated<KFbxMesh, KFbxNodeAttribute> {
 public:
  // What each normal belongs to.
  enum EMappingMode { eBY_CONTROL_POINT, eBY_POLYGON_VERTEX };

  [[nodiscard]] EAttributeType GetAttributeType() const override { return eMESH; }

  // Positions, x y z after each other, in the space of the node. To be filled by the builder.
  [[nodiscard]] std::vector<double>& GetControlPoints() { return _points; }
  [[nodiscard]] const std::vector<double>& GetControlPoints() const { return _points; }
  [[nodiscard]] int GetControlPointsCount() const { return static_cast<int>(_points.size() / 3); }

  // One polygon: its material (index of the node's materials), then corner after corner the control
  // point and the texture coordinate, both from 0, -1 for a corner without a coordinate. A polygon
  // of fewer than three corners is dropped at its end.
  void BeginPolygon(int material = 0);
  void AddPolygon(int control_point, int uv = -1);
  void EndPolygon();
  // All polygons at once: a 0-based control point per corner, that of a polygon's last corner
  // written as
  // -(index) - 1; and one material per polygon.
  void SetPolygons(std::vector<std::int32_t> vertices, std::vector<std::int32_t> materials);
  [[nodiscard]] int GetPolygonCount() const { return static_cast<int>(_materials.size()); }
  [[nodiscard]] const std::vector<std::int32_t>& GetPolygonVertices() const { return _vertices; }
  [[nodiscard]] const std::vector<std::int32_t>& GetPolygonMaterials() const { return _materials; }

  // Normals, x y z after each other: one per control point or per corner, or, where `indices` are
  // given, one index from 0 for each of them.
  void SetNormals(EMappingMode mapping, std::vector<double> normals,
                  std::vector<std::int32_t> indices = {});
  [[nodiscard]] EMappingMode GetNormalMapping() const { return _normal_mapping; }
  [[nodiscard]] const std::vector<double>& GetNormals() const { return _normals; }
  [[nodiscard]] const std::vector<std::int32_t>& GetNormalIndices() const {
    return _normal_indices;
  }

  // The one set of texture coordinates: u v after each other, v upward, and an index from 0 per
  // corner in the order of the polygons, -1 for a corner without a coordinate. The first form is
  // for polygons that named their coordinates in AddPolygon(). A mesh that has no corner with a
  // coordinate has no set. Readers want a valid index everywhere: corners without one share an
  // added coordinate (0, 0), which is added when the mesh is written.
  void SetUVs(const char* set_name, std::vector<float> uvs);
  void SetUVs(const char* set_name, std::vector<float> uvs, std::vector<std::int32_t> indices);
  [[nodiscard]] const char* GetUVSetName() const { return _uv_set; }
  [[nodiscard]] const std::vector<float>& GetUVs() const { return _uvs; }
  [[nodiscard]] const std::vector<std::int32_t>& GetUVIndices() const { return _uv_indices; }

  // Skins and blend shapes. False for null and for one that is there already.
  bool AddDeformer(KFbxDeformer* deformer);
  [[nodiscard]] int GetDeformerCount() const { return static_cast<int>(_deformers.size()); }
  [[nodiscard]] KFbxDeformer* GetDeformer(int i) const;

  // For writers: gives corners without a coordinate theirs. Answers what is wrong with the arrays
  // in the form of a sentence's end, such as "a corner names a point that is not there"; null when
  // all is well. `materials` is how many the node has.
  [[nodiscard]] const char* Complete(int materials);

 private:
  friend class KFbxCreated<KFbxMesh, KFbxNodeAttribute>;
  using KFbxCreated::KFbxCreated;

  void _completeUVs();
  [[nodiscard]] const char* _checkPolygons(int materials) const;
  [[nodiscard]] const char* _checkLayers() const;

  std::vector<double> _points;
  std::vector<std::int32_t> _vertices;
  std::vector<std::int32_t> _materials;
  std::size_t _polygon_start = 0;  // first corner of the polygon begun last
  EMappingMode _normal_mapping = eBY_CONTROL_POINT;
  std::vector<double> _normals;
  std::vector<std::int32_t> _normal_indices;
  BtStr _uv_set = "";
  std::vector<float> _uvs;
  std::vector<std::int32_t> _uv_indices;
  std::vector<KFbxDeformer*> _deformers;
};
