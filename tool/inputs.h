// Opening what the user names: which kind of file it is, and what was recorded while reading it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Bt/btstr.h"
#include "where.h"

class BaModel;
class BaUnlockedMapping;

// The text of a string, empty for null.
inline std::string Text(const BtStr& text) { return std::string(text.view()); }

// Something that the libraries had to say.
struct Message {
  bool is_error;
  std::string text;            // in one line
  const char* code = nullptr;  // of the fact that it tells of; null for none
  int count = 1;               // how often it was said
  Where where = {};            // it was said first, of an error its cause
  std::string detail = {};     // what else there is to show of it, in lines
};

// Takes what is recorded: an error with its reasons as one message, with the
// code of the first cause that has one, each warning once with its
// count, in the order in which they came.
std::vector<Message> TakeMessages();
// True when there is an error among them.
bool HasError(const std::vector<Message>& messages);
// The first error, null where there is none; its text, empty then.
const Message* ErrorOf(const std::vector<Message>& messages);
std::string ErrorText(const std::vector<Message>& messages);

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

// Hears complaints, which are not printed then.
using ComplaintListener = void (*)(const std::string& file, const Message& message);
// Null for none.
void SetComplaintListener(ComplaintListener listener);

// Prints "kestrix-tool: FILE: TEXT" on standard error.
void Complain(const std::string& file, std::string_view text);
// Print the warnings, the error: with the place of each where it is known ("FILE:LINE:COLUMN:
// error: TEXT", and on a terminal the line), otherwise as above.
void PrintWarnings(const std::string& file, const std::vector<Message>& messages);
void PrintError(const std::string& file, const std::vector<Message>& messages);
// Prints the warnings and the error about a file; false where there is an error.
bool TellMessages(const std::string& file, const std::vector<Message>& messages);
// `text` with control characters replaced, so that it cannot steer a terminal or break a line.
std::string Printable(std::string_view text);
