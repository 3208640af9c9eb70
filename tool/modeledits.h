// The edits of "convert-model", and what a dialect cannot hold.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Ba/bamodel.h"
#include "sourcefiles.h"

// Each edit answers false, with an error recorded, where it cannot be done.

// Adds copies of other models: "FILE[,OFFSET[,SUFFIX]]" each. The model is replaced by a new one;
// `sources` gets the files that were read.
bool AddModels(const std::vector<std::string>& additions, const std::string& out_file,
               std::unique_ptr<BaModel>* model, SourceFiles* sources);
// The offset of an addition, 0 for none.
int OffsetOfAddition(const std::string& text);
// "NAME" or "ID" each; a name counts first.
bool RemoveBodies(const std::vector<std::string>& bodies, BaModel* model);
// "OLD=NEW" each, or "all" for ids from 1 on in the order of the tree.
bool RenumberBodies(const std::vector<std::string>& changes, BaModel* model);
// Bodies with polygons that have no face are left as they are, with a warning.
void Triangulate(BaModel* model);

// Names textures that stand beside `from_file` so that they are found from the folder of `to_file`.
void MoveTextures(const std::string& from_file, const std::string& to_file, BaModel* model);

// Records a warning for each kind of thing in the model that the dialect does not hold.
void WarnOfLosses(const BaModel& model, bool legacy);
