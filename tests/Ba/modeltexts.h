// What the tests of models and documents are made of: short legacy files, and what comes of them.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "bamodel.h"
#include "bamodeldata.h"
#include "btexcept.h"

namespace modeltexts {

// What is recorded, one message a line, outermost first, warnings marked; clears it.
inline std::string TakeMessages() {
  std::string messages;
  if (!theExceptObj.hasException()) return messages;
  for (const BtExcept* record = &theExceptObj.exception();; record = &record->detail()) {
    messages += std::string(record->isWarning() ? "W " : "E ") +
                std::string(record->message().view()) + "\n";
    if (!record->hasDetail()) break;
  }
  theExceptObj.clear();
  return messages;
}

// The records of a legacy file.
inline std::string Body(int id, const std::string& name, int parent_id,
                        const std::string& matrix = "1 0 0\n0 1 0\n0 0 1\n0 0 0\n") {
  return "X\n" + name + "\n" + std::to_string(id) + "\nparent\n" + std::to_string(parent_id) +
         "\n" + matrix;
}
inline std::string Material(int id, const std::string& name) {
  return "M " + std::to_string(id) + " " + name + "\n3 0.5 0.25 1\n0\n";
}

// Reads the records as a file of version 1.30. The model is empty after an error.
inline void ReadLegacy(const std::string& records, BaModel* model) {
  std::istringstream is("Zov Graphic Model File\nv1.30\n" + records);
  model->scanFrom(is, ".");
}

template <class Printable>
std::string Print(const Printable& printable) {
  std::ostringstream os;
  EXPECT_TRUE(printable.printOn(os)) << TakeMessages();
  return os.str();
}

}  // namespace modeltexts
