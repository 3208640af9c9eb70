// What the commands on motion files share.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "Ba/baframe.h"
#include "Ba/bamodel.h"
#include "messages.h"

class BaMotion;
class SourceFiles;
struct Arguments;

// Reads a motion file at the rate that was given, if one was; answers what was recorded meanwhile.
std::vector<Message> ReadMotion(const std::string& file, double rate, BaMotion* motion);
// What is left of a motion file's name without folder and extensions; "_2", "_3" ... behind it make
// it different from those in `used`, which it joins.
std::string TakeName(const std::string& file, std::set<std::string>* used);
// What --angles and --lengths say of variables, for a model with this unit of lengths. The length
// is 0 where the two units cannot be compared.
BaVariableUnits UnitsOfVariables(const Arguments& arguments, const BaUnits& model_unit);
// Writes a motion file, which none of `sources` can be; complains where that fails, and answers the
// exit status.
int WriteMotion(const std::string& file, const SourceFiles& sources, const BaMotion& motion);
// Complains of an option whose value is not above zero; `may_be_absent` allows 0, which stands for
// an option that was not given.
bool CheckPositive(const char* option, double value, bool may_be_absent = false);
