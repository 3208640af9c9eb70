// Model documents: what is read goes into a model and back, and is read again from what it is
// written as.
#include <algorithm>
#include <memory>
#include <sstream>

#include "Ba/bamdvertexeffects.h"
#include "Bt/btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

namespace {

// Whether all effects move a vertex: others are read, but writing them is an assertion failure.
bool HasNoEmptyEffects(const BaModelData& document) {
  const auto has_entries = [](const BaMDVertexEffects* effects) {
    const BaMDFlexVEffects* flex = effects->asFlex();
    const auto* blend = dynamic_cast<const BaMDBlendVEffects*>(effects);
    return flex != nullptr ? !flex->weights().empty() : !blend->vectors().empty();
  };
  return std::all_of(document.vertexSets().begin(), document.vertexSets().end(),
                     [&](const BaMDVertices* vertices) {
                       return std::all_of(vertices->effects().begin(), vertices->effects().end(),
                                          has_entries);
                     });
}

void CheckThatItIsReadAgain(const BaModelData& document) {
  std::ostringstream written;
  if (!document.printOn(written)) {  // a name that no line can say
    BtAssert(BtError());
    const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
    return;
  }
  BtViewStream is(written.view());
  BaModelData again;
  BtAssert(BaModelData::scanHeader(is, nullptr) && again.scan(is, kFuzzFolder, false));
  BtAssert(again.bodies().count() == document.bodies().count());
  BtAssert(again.geometries().count() == document.geometries().count());
}

}  // namespace

void FuzzOne(std::string_view input) {
  BaModelData document;
  if (!FuzzReadDocument(input, &document)) return;
  // External bodies are not written; without them the geometries cannot be read again.
  if (HasNoEmptyEffects(document) && !document.bodiesExternal()) CheckThatItIsReadAgain(document);

  BaModel model;
  if (document.extractTo(&model)) {
    BtAssert(!BtError() && model.checkInvariants(nullptr));
    BtAssert(document.fillFrom(model, true) != BtError());
  } else {
    BtAssert(BtError());
  }
}
