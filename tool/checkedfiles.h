// A model and its mapping as "check" sees them.
#pragma once

#include <string>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "findings.h"
#include "inputs.h"

// Reads and checks both files. Where there is nothing to complain of, the model is left as a
// conversion takes it: without its bones and unused materials.
struct CheckedFiles {
  // `dof_name` is empty where there is no mapping.
  CheckedFiles(std::string model_name, std::string dof_name);
  // Prints the errors of what cannot be read, as other commands do.
  void complain() const;

  std::string model_file;
  std::string dof_file;
  std::vector<Message> model_messages;  // what was recorded while they were read
  std::vector<Message> mapping_messages;
  BaModel model;
  BaUnlockedMapping mapping;  // empty where there is none
  Findings findings;
  bool readable = false;  // what could not be read was not checked
};

// The exit status that tells of this.
[[nodiscard]] int StatusOf(const CheckedFiles& checked);

// A finding in one line, without its severity.
[[nodiscard]] std::string TextOf(const Finding& finding);
