// Blocks of indices: each line is one polygon or one triangle strip.
#pragma once

#include <iosfwd>
#include <string_view>

#include "Ba/bamdindexlists.h"
#include "Ba/bamdmaterialgroup.h"

enum class BaMDLines { Polygons, Strips };

// Appends the lists of a block's text. Vertices that follow themselves are left out with a warning,
// and so are polygons that keep fewer than three vertices. Corners with texture are written as a
// vertex index, any character that stands between and is neither a blank nor part of a number, and
// the index of a texture coordinate. False after a recorded error.
bool BaReadIndexLines(std::string_view text, BaMDLines kind, BaMDIndexLists<int>* lists);
bool BaReadIndexLines(std::string_view text, BaMDLines kind,
                      BaMDIndexLists<BaMDTexturedCorner>* lists);

// Writes the block `key` with the lists; nothing when there are none.
void BaPrintIndexLines(std::ostream& os, const char* key, const BaMDIndexLists<int>& lists);
void BaPrintIndexLines(std::ostream& os, const char* key,
                       const BaMDIndexLists<BaMDTexturedCorner>& lists);
