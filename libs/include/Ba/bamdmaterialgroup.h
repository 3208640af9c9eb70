// The part of a geometry that has one material: bones, polygons and triangle strips.
#pragma once

#include <iosfwd>
#include <vector>

#include "Ba/bamdindexlists.h"
#include "Ba/bamdvertices.h"
#include "Bt/btflatmap.h"
#include "Bt/btrare.h"
#include "Bt/btstr.h"

class BaMDMaterial;
class BaMDSource;

// A corner with texture: a vertex of the geometry's vertex set and a texture coordinate of the
// geometry, both 1-based.
struct BaMDTexturedCorner {
  int vertex;
  int coord;

  friend bool operator==(const BaMDTexturedCorner& a, const BaMDTexturedCorner& b) = default;
};

// A bone: a line between two points, in the body's system.
struct BaMDBone {
  BaMDPoint from;
  BaMDPoint to;

  friend bool operator==(const BaMDBone& a, const BaMDBone& b) = default;
};

// Vertex indices are 1-based in the geometry's vertex set. Polygons have no fixed corner count; the
// triangles of a strip are its corners 0 1 2, 1 2 3 and so on, of alternating winding.
class BaMDMaterialGroup {
 public:
  using Materials = BtNameMap<BaMDMaterial*>;

  [[nodiscard]] const BtStr& material() const { return _material; }
  void setMaterial(const BtStr& name) { _material = name; }

  [[nodiscard]] const std::vector<BaMDBone>& bones() const { return _rare->bones; }
  std::vector<BaMDBone>& bones() { return _rare.change().bones; }
  [[nodiscard]] const BaMDIndexLists<int>& polygons() const { return _polygons; }
  BaMDIndexLists<int>& polygons() { return _polygons; }
  [[nodiscard]] const BaMDIndexLists<BaMDTexturedCorner>& texturedPolygons() const {
    return _textured_polygons;
  }
  BaMDIndexLists<BaMDTexturedCorner>& texturedPolygons() { return _textured_polygons; }
  [[nodiscard]] const BaMDIndexLists<int>& triangleStrips() const { return _rare->strips; }
  BaMDIndexLists<int>& triangleStrips() { return _rare.change().strips; }
  [[nodiscard]] const BaMDIndexLists<BaMDTexturedCorner>& texturedTriangleStrips() const {
    return _rare->textured_strips;
  }
  BaMDIndexLists<BaMDTexturedCorner>& texturedTriangleStrips() {
    return _rare.change().textured_strips;
  }

  // True when the group holds polygons or strips of any kind.
  [[nodiscard]] bool hasPolygons() const;
  // Moves the textured polygons and strips to the plain ones, their vertex indices only.
  void untexture();

  // Reads the text of a MATERIAL_GROUP block; false after a recorded error. The material must be
  // among `materials`, unless that is null.
  bool scanFrom(std::istream& is, const Materials* materials);
  // Writes the section; asserts that the material is set.
  bool printOn(std::ostream& os) const;

 private:
  friend class BaMDSource;

  // What few groups hold; a model may have millions of groups.
  struct Rare {
    std::vector<BaMDBone> bones;
    BaMDIndexLists<int> strips;
    BaMDIndexLists<BaMDTexturedCorner> textured_strips;
  };

  bool _scanFrom(BaMDSource& source, const Materials* materials);

  BtStr _material;
  BaMDIndexLists<int> _polygons;
  BaMDIndexLists<BaMDTexturedCorner> _textured_polygons;
  BtRare<Rare> _rare;
};
