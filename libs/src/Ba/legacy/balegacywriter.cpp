// The writer of legacy text.

#include <ostream>
#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "bamodelheader.h"
#include "bamodelwalk.h"
#include "btclassicios.h"

namespace {

bool CheckWritten(const std::ostream& os, const char* message) {
  return static_cast<bool>(os) || BtFail("%s", message);
}

// The bodies below the reference body, depth first, parents before their children.
bool PrintBodies(const BaModel& model, std::ostream& os) {
  std::vector<const BaBody*> waiting;
  const auto wait_for_children = [&waiting](const BaBody* body) {
    for (int i = body->numChildren() - 1; i >= 0; --i) waiting.push_back(body->child(i));
  };
  if (const BaBody* const reference = model.findBody(0); reference != nullptr) {
    wait_for_children(reference);
  }
  while (!waiting.empty()) {
    const BaBody* const body = waiting.back();
    waiting.pop_back();
    body->printOn(os);
    if (!CheckWritten(os, "Unable to write body.")) return false;
    wait_for_children(body);
  }
  return true;
}

template <class Collection>
bool Print(const Collection& objects, const char* failure, std::ostream& os) {
  for (const auto& object : objects) {
    object->printOn(os);
    if (!CheckWritten(os, failure)) return false;
  }
  return true;
}

}  // namespace

void BaModel::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(isValid(), "isValid()");
  os << kBaModelFileId << '\n';
  if (!CheckWritten(os, "Unable to write header id.")) return;
  os << "v1.30\n";
  if (!CheckWritten(os, "Unable to write header version.")) return;
  const bool written = PrintBodies(*this, os) &&
                       Print(_materials, "Unable to write material.", os) &&
                       Print(_lighting_models, "Unable to write lighting model.", os) &&
                       Print(_lights, "Unable to write light.", os) &&
                       Print(_bones, "Unable to write bone data.", os) &&
                       Print(_t_meshes, "Unable to write triangle mesh.", os) &&
                       Print(_textured_t_meshes, "Unable to write textured triangle mesh.", os) &&
                       Print(_polygons, "Unable to write polygon.", os) &&
                       Print(_textured_polygons, "Unable to write textured polygon.", os) &&
                       Print(_flexible_polygons, "Unable to write flexible polygon.", os) &&
                       Print(_muscles, "Unable to write muscle.", os);
  if (written && !BtError()) Ba_WarnOfPostScale(*this);
}
