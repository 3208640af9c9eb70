// The command line: what the user asks for.
#pragma once

#include <iosfwd>
#include <span>

#include "Bt/btstr.h"

// What one run is to do.
struct Settings {
  float scale_factor = 2.54F;  // multiplies every length; the default turns inches into centimetres
  bool mesh_per_body = false;  // one mesh per body instead of one per chain
  BtStr mb_version = "2011";   // the MotionBuilder release whose file version is written
  bool ascii = false;          // text FBX, which no option of the program asks for
  BtStr model_file;
  BtStr dof_file;
  BtStr fbx_file;
};

// An option as people see it, in the usage text and in completions.
struct OptionText {
  const char* name;           // with its dash
  const char* value;          // what stands for the value, null for an option that takes none
  const char* default_value;  // null where there is none to show
  const char* choices;        // values to offer, between blanks; null where there is no list
  const char* help;
};
[[nodiscard]] std::span<const OptionText> OptionTexts();

// Reads the arguments behind the program's name. Options come first, then exactly three file names.
// A fault is printed on standard error in one line, and the answer is false.
bool ParseOptions(int argc, char** argv, Settings* settings);

void PrintUsage(std::ostream& os);
