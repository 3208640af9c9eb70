// JSON output of the commands; docs/kestrix-tool.schema.json describes it.
#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>

#include "messages.h"
#include "modelfacts.h"

struct FbxFacts;
class Findings;
class BaUnlockedMapping;

// Keys stay in the order in which they are set.
using Json = nlohmann::ordered_json;

// What every answer begins with.
Json JsonHeader(const char* command);
// Writes a value with its indentation and a line end. Bytes that are no UTF-8 are replaced.
void PrintJson(const Json& value, std::ostream& os);

Json ToJson(const Point& point);
Json ToJson(const Box& box);                        // null where it is empty
Json ToJson(const Where& where);                    // null where no file is known
Json ToJson(const std::vector<Message>& messages);  // the warnings
Json ToJson(const ModelFacts& facts);
Json ToJson(const FbxFacts& facts);
Json ToJson(const Findings& findings);
Json ToJson(const BaUnlockedMapping& mapping);
