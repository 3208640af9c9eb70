// The text form of what there is to say about a file.
#pragma once

#include <iosfwd>

struct FbxFacts;
struct ModelFacts;
class BaUnlockedMapping;

// Sizes are told as they are and as a conversion with the scale factor writes them.
void PrintText(const ModelFacts& facts, bool tree_only, double scale_factor, std::ostream& os);
void PrintText(const FbxFacts& facts, bool tree_only, std::ostream& os);
void PrintText(const BaUnlockedMapping& mapping, std::ostream& os);
