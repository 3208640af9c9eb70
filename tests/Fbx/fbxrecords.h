// A reader of binary FBX files for the tests: it takes a file apart into records and is strict
// about every byte.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct FbxValue {
  char code;                    // the type's letter in the file
  std::int64_t integer = 0;     // C I L
  double number = 0;            // D, and I for comparisons
  std::string bytes;            // S R
  std::vector<double> numbers;  // arrays
  bool compressed = false;
};

struct FbxRecord {
  std::string name;
  std::vector<FbxValue> values;
  bool has_list = false;
  std::vector<FbxRecord> children;

  // The first child of this name; a failed test and an empty record where there is none.
  [[nodiscard]] const FbxRecord& child(std::string_view child_name) const;
  [[nodiscard]] std::vector<const FbxRecord*> all(std::string_view child_name) const;
  [[nodiscard]] std::int64_t integer(std::size_t i = 0) const { return values.at(i).integer; }
  [[nodiscard]] const std::string& text(std::size_t i = 0) const { return values.at(i).bytes; }
  // An array, or the numbers that stand one by one.
  [[nodiscard]] std::vector<double> numbers() const;
  // Calls for this record and everything below it.
  void walk(const std::function<void(const FbxRecord&)>& visit) const;
};

struct FbxFile {
  std::string fault;  // what is wrong with the bytes; empty for a good file
  int version = 0;
  FbxRecord main;       // its children are the top-level records
  FbxRecord extension;  // the second section; no children where there is none
  std::string footer_code;
};

FbxFile ParseFbx(const std::string& bytes);
