// What the fuzz targets share. A target hands its input to the library and asks afterwards for what
// must hold whatever the input was: a fault is an abort, which the fuzzer reports.
#pragma once

#include <string_view>

#include "bamapping.h"
#include "bamodel.h"
#include "bamodeldata.h"
#include "btassert.h"

// The folder in which relative names are looked up: a few small files, and nothing else.
extern const char* const kFuzzFolder;

// For the first line of every target: drops what the library prints on standard error, and at its
// end what is recorded.
class FuzzRun {
 public:
  FuzzRun();
  ~FuzzRun();
  FuzzRun(const FuzzRun&) = delete;
  FuzzRun& operator=(const FuzzRun&) = delete;
};

// Whether an input may name this file: one that stands in the folder and starts no program.
bool IsTameFileName(std::string_view name);

// Read a text as the program reads a file. False where it is refused, with an error recorded, and
// where it includes files that it may not name.
bool FuzzReadModel(std::string_view text, BaModel* model);
bool FuzzReadMapping(std::string_view text, BaUnlockedMapping* mapping);
bool FuzzReadDocument(std::string_view text, BaModelData* data);
