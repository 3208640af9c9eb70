// "convert-model": writes a model in a dialect, edited if wanted.
#include <iostream>
#include <limits>
#include <memory>

#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "inputs.h"
#include "mappingedits.h"
#include "modeledits.h"
#include "outputfile.h"

namespace {

// The mapping that follows the edits, and where it goes.
struct FollowingMapping {
  std::string in;
  std::string out;
  BaUnlockedMapping mapping;
};

// Reads the mapping of --dof IN=OUT. False, with a complaint, where that fails.
bool ReadFollowing(const Arguments& arguments, FollowingMapping* following, SourceFiles* sources) {
  if (arguments.dof.empty()) {
    if (arguments.add_dofs.empty()) return true;
    Complain("--add-dof", "there is no --dof that it could be added to");
    return false;
  }
  const std::size_t sign = arguments.dof.find('=');
  if (sign == std::string::npos || sign == 0 || sign + 1 == arguments.dof.size()) {
    Complain("--dof", "'" + arguments.dof + "' is not IN=OUT");
    return false;
  }
  if (arguments.add_dofs.size() > arguments.add.size()) {
    Complain("--add-dof", "there are more of them than of --add");
    return false;
  }
  following->in = arguments.dof.substr(0, sign);
  following->out = arguments.dof.substr(sign + 1);
  const bool read = TellMessages(following->in, ReadMapping(following->in, &following->mapping));
  sources->add(following->mapping.sourceFiles());
  return read;
}

// The mappings of --add-dof with the offsets of the models that they belong to.
std::vector<std::pair<std::string, int>> AddedMappings(const Arguments& arguments) {
  std::vector<std::pair<std::string, int>> added;
  for (std::size_t i = 0; i < arguments.add_dofs.size(); ++i) {
    added.emplace_back(arguments.add_dofs[i], OffsetOfAddition(arguments.add[i]));
  }
  return added;
}

// Applies the edits in their fixed order; false after a recorded error.
bool Edit(const Arguments& arguments, std::unique_ptr<BaModel>* model, FollowingMapping* following,
          SourceFiles* sources) {
  if (!AddModels(arguments.add, arguments.files[1], model, sources) ||
      !AddMappings(AddedMappings(arguments), &following->mapping, sources)) {
    return false;
  }
  const BodyIdChanges changes(**model);
  if (!RemoveBodies(arguments.remove_bodies, model->get()) ||
      !RenumberBodies(arguments.renumber, model->get())) {
    return false;
  }
  const int count = changes.countIn(**model);
  if (!following->out.empty()) {
    changes.applyTo(**model, &following->mapping);
  } else if (count > 0) {
    theExceptObj.setAsWarning(
        "Bodies went or got other ids (%d).  Mappings do not know: --dof IN=OUT changes one, too.",
        count);
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
  FollowingMapping following;
  if (!ReadFollowing(arguments, &following, &sources)) return kExitTrouble;
  const bool edited = Edit(arguments, &model, &following, &sources);
  if (!TellMessages(in, TakeMessages()) || !edited) return kExitTrouble;
  WarnOfLosses(*model, legacy);
  if (!TellMessages(out, TakeMessages())) return kExitTrouble;
  const bool written = Write(out, sources, *model, legacy);
  if (!TellMessages(out, TakeMessages()) || !written) return kExitTrouble;
  if (following.out.empty()) return kExitGood;
  sources.add(out.c_str());
  const bool mapped = WriteMapping(following.out, sources, following.mapping);
  return TellMessages(following.out, TakeMessages()) && mapped ? kExitGood : kExitTrouble;
}
