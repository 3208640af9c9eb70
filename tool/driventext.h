// What variables drive, in words.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Ba/bamapping.h"

// Names of bodies by id; those that are not in it are named by their ids.
using BodyNames = std::map<int, std::string>;

// "hip x rotation", "hip x rotation * 0.5", "slider face smile", "texture of material 3".
std::string DrivenText(const BaUnlockedMapping::Driven& driven, const BodyNames& names);
// The same for all that a variable drives; "nothing" for none.
std::string DrivenText(const std::vector<BaUnlockedMapping::Driven>& driven,
                       const BodyNames& names);
