// Characters of any size for the benchmarks: limbs of textured triangles and quads, the same text
// for the same numbers, written as it is made.
#pragma once

#include <iosfwd>
#include <string>

struct MeshSize {
  int polygons = 998120;  // about as many are made, 3.8 corners each
  int bodies = 24;        // each with a limb of its own
  int materials = 4;      // each limb shows two at least, where there are two
  bool textured = true;   // every material has a picture of its own: PictureName(0) and on
};

enum class MeshForm { Legacy, Document, Obj };

// The same mesh in each form. The document counts vertices and texture coordinates as a reader of
// the legacy text welds them.
void WriteMesh(std::ostream& os, MeshForm form, const MeshSize& size);
// A mapping that drives every body.
void WriteMapping(std::ostream& os, const MeshSize& size);
// The name of a material's picture, without a folder.
std::string PictureName(int material);
