// What the fuzz targets share. A target hands its input to the library and asks afterwards for what
// must hold whatever the input was: a fault is an abort, which the fuzzer reports.
#pragma once

#include <string_view>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btassert.h"

// The folder in which relative names are looked up: a few small files, and nothing else.
extern const char* const kFuzzFolder;

// What each target defines: the fuzzer's inputs come here one by one. What the library prints on
// standard error is dropped meanwhile, and at the end what is recorded.
void FuzzOne(std::string_view input);

// Read a text as the program reads a file. False where it is refused, with an error recorded, and
// where it includes files that it may not name.
bool FuzzReadModel(std::string_view text, BaModel* model);
bool FuzzReadMapping(std::string_view text, BaUnlockedMapping* mapping);
bool FuzzReadDocument(std::string_view text, BaModelData* data);

// Whether every body map has each of the transforms from this id up to the last one once.
bool HasEachTransformFrom(int first_id, const BaUnlockedMapping& mapping);
