#include "Ba/babody.h"
#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Bt/btexcept.h"

namespace {

// Records `text` with the body that it is about at its end.
void Report(const char* text, int body_id, const BaModel* model) {
  const BaBody* body = model == nullptr ? nullptr : model->findBody(body_id);
  if (body == nullptr) {
    theExceptObj.set("%s for body with id of %d.", text, body_id);
  } else {
    theExceptObj.set("%s for body \"%s\".", text, static_cast<const char*>(body->name()));
  }
}

bool HasTransforms(const BaUnlockedBodyMap& body_map, const BaUnlockedTransformList& transforms) {
  for (const BaUnlockedTransform& transform : transforms) {
    if (FindTransform(body_map.transforms(), transform.id()) == nullptr) return false;
  }
  return true;
}

}  // namespace

bool BaMappingCheckLoadCompatibility(const BaUnlockedMapping& dest, const BaUnlockedMapping& source,
                                     const BaModel* model) {
  for (const BaUnlockedBodyMap* source_map : source.bodyMaps()) {
    const int body_id = source_map->bodyId();
    const BaUnlockedBodyMap* dest_map = dest.bodyMap(body_id);
    if (dest_map == nullptr || !HasTransforms(*dest_map, source_map->transforms())) {
      Report("The source model has extra transformations", body_id, model);
      return false;
    }
    if (!(*dest_map == *source_map)) {
      Report("The transformations do not match", body_id, model);
      return false;
    }
  }
  return true;
}
