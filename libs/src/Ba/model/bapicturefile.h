// Picture files of textures: where they lie, and what models of other folders call them.
#pragma once

#include <string_view>

#include "Bt/btstr.h"

// True for a name that holds a drive or a backslash.
[[nodiscard]] bool BaIsWindowsPath(std::string_view name);

// The readable file that a texture name means, null when there is none. The name is tried as it
// stands (relative names in `directory`); of a Windows path also with slashes, and its last
// component alone.
[[nodiscard]] BtStr BaFindPicture(const BtStr& directory, const BtStr& name);

// What a model in folder `to` calls the picture that `name` means in folder `from`. The name of a
// picture that is not there keeps its meaning.
[[nodiscard]] BtStr BaPictureSeenFrom(const BtStr& to, const BtStr& name, const BtStr& from);
