#include "bapostscale.h"

#include "Bt/btexcept.h"

void Ba_WarnOfPostScale(const BaModel& model, const BaBody* only) {
  constexpr int kMostNamed = 10;
  BtStr names;
  int count = 0;
  for (const auto& body : model.bodies()) {
    if (body == nullptr || body->id() == 0 || body->postScaleFactor() == 1.0F) continue;
    if (only != nullptr && body.get() != only) continue;
    if (++count <= kMostNamed) names += (count > 1 ? ", \"" : "\"") + body->name() + "\"";
  }
  if (count == 0) return;
  if (count > kMostNamed) names += BtFormat(" and %d others", count - kMostNamed);
  BtWarn(BtCode("left-out"),
         "Post scale factors have no form in a file.  Those of " + names + " are left out.");
}
