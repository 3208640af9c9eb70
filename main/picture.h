// What the picture files of textures are called in the scene.
#pragma once

#include <string>

#include "Bt/bthash.h"
#include "Bt/btstr.h"

// Whether readers can look for the picture beside the scene's file under this name.
bool IsRelativePicture(const BtStr& name);

// Gives files names that differ in their last component: readers unpack embedded pictures under it.
class PictureNames {
 public:
  // The name itself, or one with a number before its extension where its last component is taken.
  BtStr unique(const BtStr& name);

 private:
  // Last components in use and the highest number tried behind each. They are in lower case, since
  // the file systems of some readers ignore case. Nodes of the map keep their place.
  BtHashMap<std::string, int> _last_number;
};
