// What the commands on motion files share.
#pragma once

#include <string>
#include <vector>

#include "inputs.h"

class BaMotion;
struct Arguments;

// Reads a motion file at the rate that was given, if one was; answers what was recorded meanwhile.
std::vector<Message> ReadMotion(const std::string& file, double rate, BaMotion* motion);
// Writes a motion file; complains where that fails, and answers the exit status.
int WriteMotion(const std::string& file, const BaMotion& motion);
// Complains of an option whose value is not above zero; `may_be_absent` allows 0, which stands for
// an option that was not given.
bool CheckPositive(const char* option, double value, bool may_be_absent = false);
