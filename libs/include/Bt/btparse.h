// Keyword documents: sequences of a keyword with a one-line value behind a colon or with a block
// between braces, and the small readers that take such values apart.
#pragma once

#include <array>
#include <istream>
#include <string_view>

#include "Bt/btstr.h"

// Reads one item of a keyword document. Answers
// - true with `keyword` and `value`: an item. `single_line`, which may be null, tells a colon item
//   from a block, whose value is the text between its braces: again a keyword document, free of
//   indentation and comments, its lines ended by line feeds;
// - true with a null `keyword`: the input ended before any item;
// - false: an error is recorded, and the stream stands where reading stopped.
//
// In a colon item everything behind the first colon is the value, "#" included; a backslash as the
// very last character of the line stands for a line end and draws in the next line as it is. Lines
// that are empty or begin with "#" are passed over between items. In a block "#" begins a comment
// anywhere, except in a line that such a backslash draws in: that line is text, with its
// blanks, "#" and braces.
// Text that holds a NUL character is an error: strings would end at it without a word. So is a
// value of more characters than an int counts.
bool BtReadTaggedValue(std::istream& is, BtStr* keyword, BtStr* value, bool* single_line);

// The token readers below skip white space at the front of `str`, read one thing there and remove
// what they read. Where it is not there they record an error, answer false and leave `str` alone.
// The readers of views do the same in constant time, for texts of many tokens.

// Characters of the identifier that `str` begins with: a letter or "_", then letters, digits and
// "_". 0 when there is none.
int BtIdentifierLength(const BtStr& str);
bool BtReadIdentifier(BtStr* str, BtStr* identifier);
// A decimal number of the range of int, with or without a sign.
bool BtReadInt(std::string_view* text, int* value);
bool BtReadInt(BtStr* str, int* value);
// The word TRUE or FALSE, in any case.
bool BtReadBool(BtStr* str, bool* value);
// A finite decimal number; out of the range of float is an error, too small ones become 0.
bool BtReadFloat(std::string_view* text, float* value);
bool BtReadFloat(BtStr* str, float* value);
// Everything up to the next white space.
bool BtReadToken(std::string_view* text, std::string_view* token);
bool BtReadToken(BtStr* str, BtStr* token);
// A text between two quote characters, which are not part of it; no character is special in it.
bool BtReadQuotedStr(BtStr* str, char quote, BtStr* dq_str);
bool BtReadDoubleQuotedStr(BtStr* str, BtStr* dq_str);
// An expected character or text.
bool BtSkipChar(BtStr* str, char expected);
bool BtSkipExpectedStr(BtStr* str, const char* skip_str);
// Three numbers.
bool BtReadVector3(BtStr* str, std::array<float, 3>* vector);
// A frame rate as timecode names it: 23.976, 24, 25, 29.97, 30, 50, 59.94 or 60 frames per second.
// Rates with a fraction are exact, 29.97 for example is 30000/1001.
bool BtReadTimecodeRate(BtStr* str, double* frames_per_second);
