// The shape of one body of a model document: a vertex set by name, texture coordinates, and groups
// of polygons by material.
#pragma once

#include <iosfwd>
#include <memory>

#include "Ba/bakey.h"
#include "Ba/bamdmaterialgroup.h"
#include "Ba/batexturecoords.h"
#include "Bt/array.h"
#include "Bt/btlist.h"
#include "Bt/btstr.h"

class BaMDSource;
class BaMDVertices;

class BaMDGeometry {
 public:
  using Materials = BaMDMaterialGroup::Materials;

  BaMDGeometry() = default;
  BaMDGeometry(const BaMDGeometry&) = delete;
  BaMDGeometry& operator=(const BaMDGeometry&) = delete;
  ~BaMDGeometry();

  // The body that the geometry belongs to, in whose system its points are.
  [[nodiscard]] const BtStr& bodyName() const { return _body_name.get(); }
  // Asserts that no document owns the geometry, which is looked up by its body.
  void setBodyName(const BtStr& name) { _body_name.set(name); }
  // The vertex set; null for a geometry that has bones only.
  [[nodiscard]] const BtStr& verticesName() const { return _vertices_name; }
  void setVerticesName(const BtStr& name) { _vertices_name = name; }
  // What the corners of textured polygons refer to, 1-based.
  [[nodiscard]] const BtDArray<BaTextureCoords>& textureCoords() const { return _texture_coords; }
  void setTextureCoords(BtDArray<BaTextureCoords> coords) { _texture_coords = std::move(coords); }
  // Owned by the geometry.
  [[nodiscard]] const BtList<BaMDMaterialGroup*>& materialGroups() const { return _groups; }
  BaMDMaterialGroup* addMaterialGroup(std::unique_ptr<BaMDMaterialGroup> group);

  // Forgets the groups and the texture coordinates.
  void clear();

  // True when any group holds polygons or strips.
  [[nodiscard]] bool hasPolygons() const;
  // Makes every textured polygon and strip a plain one.
  void untexture();
  // True when every polygon and strip refers to vertices of `vertices` (null for none) and to
  // texture coordinates of the geometry; otherwise the first that does not is recorded as an error.
  [[nodiscard]] bool checkIndices(const BaMDVertices* vertices) const;

  // Reads the text of a GEOMETRY block; false after a recorded error. The materials of its groups
  // must be among `materials`, unless that is null.
  bool scanFrom(std::istream& is, const Materials* materials);
  // Writes the section; false after a recorded error, such as that the body has no name.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaMDSource;
  friend class BaModelData;

  bool _scanFrom(BaMDSource& source, const Materials* materials);

  BaKey<BtStr> _body_name;
  BtStr _vertices_name;
  BtDArray<BaTextureCoords> _texture_coords;
  BtList<BaMDMaterialGroup*> _groups;
};
