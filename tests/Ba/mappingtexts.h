// Texts that the mapping tests are made of.
#pragma once

#include <string>

#include "btexcept.h"

// What is recorded, in its printed form without the empty lines around it and with "|" for a line
// break and the indent behind it; clears it. Empty when nothing is recorded.
inline std::string TakePrintedForm() {
  if (!theExceptObj.hasException()) return "";
  BtStr printed;
  BtGetExceptionStr(&printed, theExceptObj.exception());
  theExceptObj.clear();
  const BtStr text = printed.replaceAll("\n       ", "|");
  return std::string(text.view().substr(2, static_cast<std::size_t>(text.length()) - 4));
}

// The record of a body whose six transforms are driven by six variables from `first_var` on.
inline std::string BodyRecord(int body_id, int first_var) {
  std::string text = std::to_string(body_id) + "\n1 2 3 4 5 6\n";
  for (int i = 0; i < 6; ++i) text += std::to_string(first_var + i) + "\n";
  return text;
}

// A mapping file: header, counts, what follows them.
inline std::string MappingText(int num_vars, int num_bodies, const std::string& rest) {
  return "Zov Graphic Mapping File\nv1.0\n" + std::to_string(num_vars) + "\n" +
         std::to_string(num_bodies) + "\n" + rest;
}

// A mapping of one body, id 1, with the variables 1 to 6.
inline std::string OneBody(const std::string& sections) {
  return MappingText(6, 1, BodyRecord(1, 1) + sections);
}
