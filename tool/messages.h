// What the libraries had to say, and saying it to the user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Bt/btstr.h"
#include "where.h"

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

// Takes what is recorded: an error with its reasons as one message, with the code of the first
// cause that has one, each warning once with its count, in the order in which they came.
std::vector<Message> TakeMessages();
// True when there is an error among them.
bool HasError(const std::vector<Message>& messages);
// The first error, null where there is none; its text, empty then.
const Message* ErrorOf(const std::vector<Message>& messages);
std::string ErrorText(const std::vector<Message>& messages);

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
