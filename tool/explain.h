// What else a file tells of an error that a reader met in it.
#pragma once

#include <string>
#include <vector>

#include "inputs.h"

// Adds to the error among the messages what the file's first bytes, marks of damage in it and the
// line at fault tell, and what to do.
void ExplainError(const std::string& file, FileKind expected, std::vector<Message>* messages);
