// "picture": draws a model.
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "inputs.h"
#include "outputfile.h"
#include "sourcefiles.h"
#include "svgpicture.h"

int RunPicture(const Arguments& arguments) {
  BaModel model;
  if (!TellMessages(arguments.files[0], ReadModel(arguments.files[0], &model))) return kExitTrouble;
  std::unique_ptr<BaUnlockedMapping> mapping;
  if (!arguments.dof.empty()) {
    mapping = std::make_unique<BaUnlockedMapping>();
    if (!TellMessages(arguments.dof, ReadMapping(arguments.dof, mapping.get())))
      return kExitTrouble;
  }
  SourceFiles sources;
  sources.add(model.sourceFiles());
  if (mapping != nullptr) sources.add(mapping->sourceFiles());
  WriteWholeFile(arguments.output, sources,
                 [&](std::ostream& os) { PrintSvg(model, mapping.get(), os); });
  return TellMessages(arguments.output, TakeMessages()) ? kExitGood : kExitTrouble;
}
