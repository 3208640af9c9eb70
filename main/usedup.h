// What a scene is made of and may take apart meanwhile.
#pragma once

class BaModelData;
class BaUnlockedMapping;

// Null for what must stay. A character of a million bodies has no room for all its forms at once,
// and pages that the system hands out anew cost more than what is done with them.
struct UsedUp {
  // The document that the scene is made from; its vertex sets and geometries go as soon as the last
  // mesh has its faces.
  BaModelData* model_data = nullptr;
  // The mapping that the scene is made from; goes as soon as all nodes stand.
  BaUnlockedMapping* mapping = nullptr;
};
