// The dialects of FBX files, a row each. Which objects and records a file consists of is the
// business of the two document builders; whatever else sets files of one version apart from those
// of another is here.
#pragma once

#include <cstdint>
#include <string_view>

class FbxRecordSink;
struct FbxDocumentSource;

// What an object's own list holds of its table of properties.
enum class FbxSelection : std::uint8_t { eAll, eChanged };

// How files of several versions speak.
struct FbxFamily {
  // Writes all records of a file. A picture that cannot be embedded is a recorded warning.
  void (*write)(FbxRecordSink* sink, const FbxDocumentSource& source);
  bool has_ids;                    // objects refer to each other by id, otherwise by name
  bool has_empty_lists;            // objects without properties have a list of them, too
  bool has_labels;                 // properties state a second name of their type
  FbxSelection selection;          // newer files have templates with the rest
  std::string_view property_list;  // words for records
  std::string_view property;
  std::string_view connection;
  double unused_scaling_min;         // the limit of a scale where it is switched off
  std::uint64_t fewest_model_bytes;  // of a binary file that a model takes, whatever it is
};

struct FbxDialect {
  const char* version;        // by which callers choose it
  std::int32_t file_version;  // as the file states it
  const FbxFamily* family;
};

// The builders.
void FbxWriteDocument71(FbxRecordSink* sink, const FbxDocumentSource& source);
void FbxWriteDocument61(FbxRecordSink* sink, const FbxDocumentSource& source);

// The newer family: objects with ids.
inline constexpr FbxFamily kFbxFamily71 = {
    FbxWriteDocument71, true, false, true, FbxSelection::eChanged, "Properties70", "P", "C", 0, 300,
};
// The older family: objects by name, meshes inside their models.
inline constexpr FbxFamily kFbxFamily61 = {
    FbxWriteDocument61, false,      true,      false, FbxSelection::eAll,
    "Properties60",     "Property", "Connect", 1,     5000,
};

// Of one family the version that a writer takes by itself comes first.
inline constexpr FbxDialect kFbxDialects[] = {
    {"FBX201100", 7100, &kFbxFamily71},
    {"FBX201000", 6100, &kFbxFamily61},
    {"FBX200900", 6100, &kFbxFamily61},
    {"FBX200611", 6100, &kFbxFamily61},
};
