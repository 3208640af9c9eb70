// Opening what the user names: which kind of file it is, and what there is to say of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Bt/btstr.h"
#include "messages.h"

class BaModel;
class BaUnlockedMapping;

// True for what can be opened for reading, and is no folder.
bool CanBeOpened(const std::string& file);

enum class FileKind { Model, Mapping, Fbx, Unknown };
inline constexpr std::string_view kBaMappingFileId = "Zov Graphic Mapping File";
// What the first line of a text says.
FileKind KindOfText(std::string_view text);
// What the first bytes of a file say, of the text in it for a compressed one; for what is no
// regular file, what its name says.
FileKind KindOf(const std::string& file);
const char* KindName(FileKind kind);

// Each reads a file and answers what was recorded meanwhile.
std::vector<Message> ReadModel(const std::string& file, BaModel* model);
std::vector<Message> ReadMapping(const std::string& file, BaUnlockedMapping* mapping);
// Reads one model of several; what there is to say stays recorded. False where that is an error.
bool ReadAddition(const std::string& file, BaModel* model);
