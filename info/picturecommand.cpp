// "picture": draws a model.
#include <memory>

#include "arguments.h"
#include "bamapping.h"
#include "bamodel.h"
#include "btexcept.h"
#include "inputs.h"
#include "outputfile.h"
#include "svgpicture.h"

namespace {

// Prints the warnings and the error of a step; false after an error.
bool Good(const std::string& file, const std::vector<Message>& messages) {
  PrintWarnings(file, messages);
  if (!HasError(messages)) return true;
  Complain(file, ErrorText(messages));
  return false;
}

}  // namespace

int RunPicture(const Arguments& arguments) {
  BaModel model;
  if (!Good(arguments.files[0], ReadModel(arguments.files[0], &model))) return kExitTrouble;
  std::unique_ptr<BaUnlockedMapping> mapping;
  if (!arguments.dof.empty()) {
    mapping = std::make_unique<BaUnlockedMapping>();
    if (!Good(arguments.dof, ReadMapping(arguments.dof, mapping.get()))) return kExitTrouble;
  }
  WriteWholeFile(arguments.output, [&](std::ostream& os) { PrintSvg(model, mapping.get(), os); });
  return Good(arguments.output, TakeMessages()) ? kExitGood : kExitTrouble;
}
