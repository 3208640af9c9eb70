// The text form of what there is to say about a file.
#pragma once

#include <iosfwd>

struct FbxFacts;
struct ModelFacts;
class BaUnlockedMapping;

void PrintText(const ModelFacts& facts, bool tree_only, std::ostream& os);
void PrintText(const FbxFacts& facts, bool tree_only, std::ostream& os);
void PrintText(const BaUnlockedMapping& mapping, std::ostream& os);
