// A mapping that follows the edits of its model.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Bt/bthash.h"
#include "sourcefiles.h"

// Remembers the ids of a model's bodies, and tells what became of them.
class BodyIdChanges {
 public:
  explicit BodyIdChanges(const BaModel& before);
  // How many bodies have gone or have another id. Bodies must not have been copied since.
  [[nodiscard]] int countIn(const BaModel& after) const;
  // Drops the maps of bodies that have gone and gives the others their new ids.
  void applyTo(const BaModel& after, BaUnlockedMapping* mapping) const;

 private:
  // Calls visit(old id, new id), which is 0 for a body that has gone.
  template <class Visit>
  void _forEachChange(const BaModel& after, Visit visit) const;

  std::vector<std::pair<const BaBody*, int>> _ids;  // the bodies are compared, never looked into
};

// Adds the mappings of models that were added: file and offset each. False after a recorded error.
bool AddMappings(const std::vector<std::pair<std::string, int>>& additions,
                 BaUnlockedMapping* mapping, SourceFiles* sources);
// False, with an error recorded, for a mapping that cannot be written: a map repeats a transform.
bool WriteMapping(const std::string& file, const SourceFiles& sources,
                  const BaUnlockedMapping& mapping);
