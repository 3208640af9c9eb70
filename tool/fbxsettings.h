// What FBX files say in properties: of the whole scene in words, and what users put on nodes.
#pragma once

#include <string>
#include <vector>

#include "fbxfacts.h"

struct FbxPropertyText {
  std::string name;
  std::string text;             // its value, whatever that is
  std::vector<double> numbers;  // the same where it is no text
};

// The properties that users put on an object, by its record.
std::vector<FbxPropertyText> UserPropertiesOf(const FbxRecordFile& file, std::size_t object);

// The settings of the scene. Those that belong together are one: the axes, the rate, the span.
std::vector<FbxPropertyText> SettingsOf(const FbxContents& contents);
