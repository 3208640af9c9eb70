// What the program is measured against.
#pragma once

#include <string>

// Each reads a whole file and answers whether that went well.

// std::from_chars over every number of the mapped file, whatever it stands for.
bool FromCharsLoop(const std::string& file_name);
// The same by extraction from a stream.
bool ExtractionLoop(const std::string& file_name);

// What a binary FBX file of family 7.1 would measure if its compressed arrays were compressed by
// zlib at its default level, 6. 0 where it cannot be read.
double SizeWithZlib(const std::string& file_name);
