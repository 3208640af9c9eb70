#include "mappingedits.h"

#include "Bt/btexcept.h"
#include "Bt/btmap.h"
#include "geometry.h"
#include "outputfile.h"

BodyIdChanges::BodyIdChanges(const BaModel& before) {
  for (const BaBody* body : BodiesInOrder(before)) _ids.emplace_back(body, body->id());
}

template <class Visit>
void BodyIdChanges::_forEachChange(const BaModel& after, Visit visit) const {
  BtHashMap<const BaBody*, int> now;
  for (const BaBody* body : BodiesInOrder(after)) now[body] = body->id();
  for (const auto& [body, old_id] : _ids) {
    const auto found = now.find(body);
    const int new_id = found == now.end() ? 0 : found->second;
    if (new_id != old_id) visit(old_id, new_id);
  }
}

int BodyIdChanges::countIn(const BaModel& after) const {
  int count = 0;
  _forEachChange(after, [&count](int, int) { ++count; });
  return count;
}

void BodyIdChanges::applyTo(const BaModel& after, BaUnlockedMapping* mapping) const {
  BtMap<int, int> new_ids;
  _forEachChange(after, [&](int old_id, int new_id) {
    if (new_id != 0) {
      new_ids.insert(old_id, new_id);
    } else if (mapping->bodyMap(old_id) != nullptr) {
      mapping->removeBodyMap(old_id);
    }
  });
  mapping->changeBodyIds(new_ids);
  mapping->setHighestSysVar();
}

bool AddMappings(const std::vector<std::pair<std::string, int>>& additions,
                 BaUnlockedMapping* mapping, SourceFiles* sources) {
  for (const auto& [file, offset] : additions) {
    BaUnlockedMapping added;
    if (!added.read(file.c_str(), true)) return false;
    sources->add(added.sourceFiles());
    if (!mapping->merge(added, offset)) return BtFail("Unable to add '%s'.", file.c_str());
  }
  return true;
}

bool WriteMapping(const std::string& file, const SourceFiles& sources,
                  const BaUnlockedMapping& mapping) {
  for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
    for (int id = 1; id <= kBaTransformCount; ++id) {
      if (FindTransform(map->transforms(), id) != nullptr) continue;
      return BtFail("The map of body %d lacks transform %d.  It cannot be written.", map->bodyId(),
                    id);
    }
  }
  return WriteWholeFile(file, sources, [&mapping](std::ostream& os) { mapping.printOn(os); });
}
