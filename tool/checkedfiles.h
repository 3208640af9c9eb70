// A model and its mapping as "check" sees them.
#pragma once

#include <string>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "findings.h"
#include "inputs.h"

struct CheckOptions {
  double scale_factor = 2.54;       // of the conversion
  std::vector<std::string> only;    // the codes to look for; none for all
  std::vector<std::string> ignore;  // codes that are passed over
  bool strict = false;              // warnings fail
};

// Reads and checks both files. Where there is nothing to complain of, the model is left as a
// conversion takes it: without its bones and unused materials. Nothing is printed.
struct CheckedFiles {
  // `dof_name` is empty where there is no mapping.
  CheckedFiles(std::string model_name, std::string dof_name, CheckOptions check_options = {});

  std::string model_file;
  std::string dof_file;
  CheckOptions options;
  BaModel model;
  BaUnlockedMapping mapping;  // empty where there is none
  Findings findings;          // those of the codes that are wanted
  bool opened = true;         // false where there is no such file, or it may not be read
  bool readable = false;      // what could not be read was not checked
};

// The exit status that tells of this: whether there are errors, whatever was ignored where a file
// could not be read.
[[nodiscard]] int StatusOf(const CheckedFiles& checked);
