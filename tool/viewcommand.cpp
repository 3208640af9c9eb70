// "view": writes a page that shows the character as a conversion delivers it, and moves it.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <system_error>

#include "arguments.h"
#include "bamodeldata.h"
#include "btexcept.h"
#include "btfile.h"
#include "checkedfiles.h"
#include "inputs.h"
#include "outputfile.h"
#include "save.h"
#include "scene.h"
#include "viewpage.h"
#include "viewtemplate.h"

namespace {

// True where the page would take the place of a file that it is made from.
bool WouldReplaceInput(const Arguments& arguments) {
  return std::any_of(arguments.files.begin(), arguments.files.end(), [&](const std::string& file) {
    std::error_code ignored;
    return std::filesystem::equivalent(file, arguments.output, ignored);
  });
}

// Prints the first errors that were found; the other findings stand in the page.
void PrintErrors(const CheckedFiles& files) {
  constexpr int kMostErrors = 10;
  files.complain();
  if (!files.readable) return;
  int left = kMostErrors;
  for (const Finding& finding : files.findings.list()) {
    if (finding.kind->severity != Severity::Error || left-- <= 0) continue;
    Complain(files.model_file, TextOf(finding));
  }
  const int errors = files.findings.count(Severity::Error);
  if (errors > kMostErrors) {
    Complain(files.model_file,
             std::to_string(errors - kMostErrors) + " more errors, which check lists");
  }
}

// Converts what was read, as kestrix does, and writes the page. Errors are recorded.
void WritePage(const Arguments& arguments, const CheckedFiles& files) {
  const BtStr model_file = arguments.files[0].c_str();
  const auto scale_factor = static_cast<float>(arguments.scale_factor);
  BaModelData model_data;
  if (!model_data.fillFrom(files.model, true) || BtError()) return;
  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  if (!CreateScene(manager, scene, model_data, model_file, files.mapping, scale_factor,
                   arguments.mesh_per_body)) {
    return;
  }
  // Every word of warning is among the findings already.
  delete theExceptObj.release();
  const ViewSource source = {Text(BtFileBaseName(model_file)),
                             scale_factor,
                             files.model,
                             model_data,
                             files.mapping,
                             *scene,
                             files.findings};
  const Json data = ViewData(source);
  std::string fbx;
  const WriterChoice writer = FindMotionBuilderWriter(manager, "2011", false);
  if (!SaveSceneInMemory(manager, scene, false, true, writer.version, &fbx)) return;
  delete theExceptObj.release();
  WriteWholeFile(arguments.output, [&](std::ostream& os) { PrintViewPage(data, fbx, os); });
}

}  // namespace

int RunView(const Arguments& arguments) {
  if (TheViewTemplate().before.empty()) {
    Complain("view", "this build has no viewer: build with -DKESTRIX_VIEW=ON");
    return kExitTrouble;
  }
  const float scale_factor = static_cast<float>(arguments.scale_factor);
  if (!std::isfinite(scale_factor) || scale_factor <= 0.0F) {
    Complain("--scale-factor", "not a number above 0");
    return kExitTrouble;
  }
  if (WouldReplaceInput(arguments)) {
    Complain(arguments.output, "is one of the files to read");
    return kExitTrouble;
  }
  const CheckedFiles files(arguments.files[0],
                           arguments.files.size() > 1 ? arguments.files[1] : std::string());
  if (const int status = StatusOf(files); status != kExitGood) {
    PrintErrors(files);
    return status;
  }
  WritePage(arguments, files);
  return TellMessages(arguments.output, TakeMessages()) ? kExitGood : kExitTrouble;
}
