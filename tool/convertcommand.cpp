// "convert-model": writes a model in a dialect, edited if wanted.
#include <iostream>
#include <limits>
#include <memory>

#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "inputs.h"
#include "modeledits.h"
#include "outputfile.h"

namespace {

// Applies the edits in their fixed order; false after a recorded error.
bool Edit(const Arguments& arguments, std::unique_ptr<BaModel>* model, SourceFiles* sources) {
  if (!AddModels(arguments.add, arguments.files[1], model, sources) ||
      !RemoveBodies(arguments.remove_bodies, model->get()) ||
      !RenumberBodies(arguments.renumber, model->get())) {
    return false;
  }
  if (arguments.remove_bones) (*model)->removeBones();
  if (arguments.remove_unused_materials) (*model)->removeUnusedMaterials(false);
  if (arguments.triangulate) Triangulate(model->get());
  return true;
}

bool Write(const std::string& file, const SourceFiles& sources, const BaModel& model, bool legacy) {
  if (legacy)
    return WriteWholeFile(file, sources, [&model](std::ostream& os) { model.printOn(os); });
  BaModelData data;
  if (!data.fillFrom(model, true)) return false;
  return WriteWholeFile(file, sources, [&data](std::ostream& os) {
    os.precision(std::numeric_limits<float>::max_digits10);  // numbers come back as they are
    data.printOn(os);
  });
}

}  // namespace

int RunConvertModel(const Arguments& arguments) {
  const std::string& in = arguments.files[0];
  const std::string& out = arguments.files[1];
  const bool legacy = arguments.dialect == "legacy";
  auto model = std::make_unique<BaModel>();
  if (!TellMessages(in, ReadModel(in, model.get()))) return kExitTrouble;
  SourceFiles sources;
  sources.add(model->sourceFiles());
  MoveTextures(in, out, model.get());
  const bool edited = Edit(arguments, &model, &sources);
  if (!TellMessages(in, TakeMessages()) || !edited) return kExitTrouble;
  WarnOfLosses(*model, legacy);
  if (!TellMessages(out, TakeMessages())) return kExitTrouble;
  const bool written = Write(out, sources, *model, legacy);
  return TellMessages(out, TakeMessages()) && written ? kExitGood : kExitTrouble;
}
