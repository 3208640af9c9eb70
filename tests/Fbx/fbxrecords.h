// Binary FBX files taken apart for the tests. The library's reader finds the records; what it does
// not look at is checked here, so that every byte of a file counts.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fbxrecordreader.h"

struct FbxRecord {
  std::string name;
  std::vector<FbxReadValue> values;  // their bytes live as long as the file
  std::vector<double> numbers;       // of arrays, and those that stand one by one
  bool has_list = false;
  std::vector<FbxRecord> children;

  // The first child of this name; a failed test and an empty record where there is none.
  [[nodiscard]] const FbxRecord& child(std::string_view child_name) const;
  [[nodiscard]] std::vector<const FbxRecord*> all(std::string_view child_name) const;
  [[nodiscard]] std::int64_t integer(std::size_t i = 0) const { return values.at(i).integer; }
  [[nodiscard]] std::string text(std::size_t i = 0) const {
    return std::string(values.at(i).bytes);
  }
  // Calls for this record and everything below it.
  void walk(const std::function<void(const FbxRecord&)>& visit) const;
};

struct FbxFile {
  std::string fault;  // what is wrong with the bytes; empty for a good file
  int version = 0;
  FbxRecord main;       // its children are the top-level records
  FbxRecord extension;  // the second section; no children where there is none
  std::string footer_code;
  std::vector<std::shared_ptr<FbxRecordFile>> readers;  // of the sections
};

FbxFile ParseFbx(const std::string& bytes);
