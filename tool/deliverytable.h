// The text of a table of characters.
#pragma once

#include <string>
#include <vector>

struct DeliveredCharacter;

// As it is written, without the blanks around values.
struct DeliveryRow {
  int line;
  std::string model;
  std::string dof;
  std::string options;
  std::string output;
};

// The rows that are not empty. False after a recorded error.
bool ReadDeliveryRows(const std::string& file, std::vector<DeliveryRow>* rows);
// Sets what the options of a conversion, with blanks between them, say of it. Answers what is wrong
// with them, empty where nothing is.
std::string ReadConversionOptions(const std::string& options, DeliveredCharacter* character);
