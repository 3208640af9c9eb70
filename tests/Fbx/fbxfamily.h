// What the records of a file say of its objects, for both binary families, and the rules that every
// file has to keep.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Fbx/kfbxmath.h"
#include "fbxrecords.h"

// A name as binary files have it.
std::string Named(const std::string& name, const std::string& type);

// A family, with how it differs for a reader.
struct Family {
  int format;  // in the registry
  bool has_ids;

  // What refers to an object, in connections and poses, or stands in its own record.
  [[nodiscard]] std::string key(const FbxRecord& record, std::size_t i = 0) const;
  [[nodiscard]] std::string root() const;
  [[nodiscard]] std::string name(const FbxRecord& object) const;
  [[nodiscard]] std::string subtype(const FbxRecord& object) const;
  // The numbers of an object's property; empty where it is left out.
  [[nodiscard]] std::vector<double> property(const FbxRecord& object,
                                             const std::string& wanted) const;
  [[nodiscard]] const FbxRecord& object(const FbxFile& file, const std::string& wanted) const;
  // Connections as child > parent, by key.
  [[nodiscard]] std::multimap<std::string, std::string> connections(const FbxFile& file) const;
};

inline constexpr Family kFamilies[] = {{0, true}, {3, false}};

// Expects different ids, definitions that count what there is, connections and poses of objects
// that exist, and nothing that is connected to nothing.
void ExpectSoundObjects(const Family& family, const FbxFile& file);

// Expects one and the same place of each node in the models' properties, the poses and the
// clusters, and weights that add up to 1 at each point of a skin. Answers how many clusters there
// are.
int ExpectAgreeingTransforms(const Family& family, const FbxFile& file);

void ExpectNear(const KFbxXMatrix& a, const std::vector<double>& b);
