// The page that "view" writes: the viewer with one character in it.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "Ba/bamotion.h"
#include "json.h"

class BaModel;
class BaModelData;
class BaUnlockedMapping;
class Findings;
class KFbxScene;

// What the page is told besides the FBX; view/README.md says what each key means. The scene is the
// one that the FBX was written from.
struct ViewTake {
  std::string name;
  BaMotion motion;
};
struct ViewSource {
  std::string title;
  float scale_factor;
  const BaModel& model;
  const BaModelData& model_data;
  const BaUnlockedMapping& mapping;
  const KFbxScene& scene;
  const Findings& findings;
  std::string length_unit;  // of variables that move
  BaVariableUnits units;
  std::vector<ViewTake> takes;
};
Json ViewData(const ViewSource& source);

// Writes the page.
void PrintViewPage(const Json& data, const std::string& fbx, std::ostream& os);
