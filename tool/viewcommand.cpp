// "view": writes a page that shows the character as a conversion delivers it, and moves it.
#include <algorithm>
#include <cctype>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Ba/bamdmaterial.h"
#include "Ba/bamdtexture.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "arguments.h"
#include "checkedfiles.h"
#include "checktext.h"
#include "messages.h"
#include "motionfiles.h"
#include "outputfile.h"
#include "save.h"
#include "scene.h"
#include "sourcefiles.h"
#include "viewpage.h"
#include "viewtemplate.h"

namespace {

constexpr std::size_t kFirstMotion = 2;  // among the files, behind model and mapping

// What the page is made from.
SourceFiles SourcesOf(const Arguments& arguments, const CheckedFiles& files,
                      const BaModelData& model_data) {
  SourceFiles sources;
  sources.add(files.model.sourceFiles());
  sources.add(files.mapping.sourceFiles());
  for (const std::string& file : arguments.files) sources.add(file.c_str());
  sources.addPictures(model_data, BtFileDirectory(files.model_file.c_str()));
  return sources;
}

// Prints the first errors that were found; the other findings stand in the page.
void PrintErrors(const CheckedFiles& files) {
  constexpr int kMostErrors = 10;
  int left = kMostErrors;
  for (const Finding& finding : files.findings.list()) {
    if (finding.kind->severity != Severity::Error || left-- <= 0) continue;
    Complain(finding.where.file.empty() ? files.model_file : WhereText(finding.where),
             TextOf(finding));
  }
  const int errors = files.findings.count(Severity::Error);
  if (errors > kMostErrors) {
    Complain(files.model_file,
             std::to_string(errors - kMostErrors) + " more errors, which check lists");
  }
}

// What variables that move are counted in, as people say it.
std::string LengthUnitName(const Arguments& arguments, const BaUnits& model_unit) {
  if (!arguments.lengths.empty()) return arguments.lengths;
  if (model_unit.factor != 1.0F) return "units";
  std::string name = Text(model_unit.name);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name;
}

// Reads the motion files. False, with complaints, at the first that cannot be read.
bool ReadTakes(const Arguments& arguments, const BaUnlockedMapping& mapping,
               std::vector<ViewTake>* takes) {
  std::set<std::string> names;
  for (std::size_t i = kFirstMotion; i < arguments.files.size(); ++i) {
    const std::string& file = arguments.files[i];
    BaMotion motion;
    motion.read(file.c_str(), {BaExactFrameRate(arguments.rate), BaHighestSysVarKnown(mapping)});
    if (!TellMessages(file, TakeMessages())) return false;
    takes->push_back({TakeName(file, &names), std::move(motion)});
  }
  return true;
}

// Converts what was read, as kestrix does, and writes the page. Errors are recorded.
void WritePage(const Arguments& arguments, const CheckedFiles& files, std::vector<ViewTake> takes) {
  const BtStr model_file = files.model_file.c_str();
  const auto scale_factor = static_cast<float>(arguments.scale_factor);
  BaModelData model_data;
  if (!model_data.fillFrom(files.model, true) || BtError()) return;
  const BaUnits& unit = model_data.lengthUnits();
  const BaVariableUnits units = UnitsOfVariables(arguments, unit);
  if (units.length <= 0) {
    theExceptObj.set("The unit of lengths of the model cannot be converted.");
    return;
  }
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
  const Json data = ViewData({Text(BtFileBaseName(model_file)), scale_factor, files.model,
                              model_data, files.mapping, *scene, files.findings,
                              LengthUnitName(arguments, unit), units, std::move(takes)});
  std::string fbx;
  const WriterChoice writer = FindMotionBuilderWriter(manager, "2011", false);
  if (!SaveSceneInMemory(manager, scene, false, true, writer.version, &fbx)) return;
  delete theExceptObj.release();
  WriteWholeFile(arguments.output, SourcesOf(arguments, files, model_data),
                 [&](std::ostream& os) { PrintViewPage(data, fbx, os); });
}

}  // namespace

int RunView(const Arguments& arguments) {
  if (TheViewTemplate().before.empty()) {
    Complain("view", "this build has no viewer: build with -DKESTRIX_VIEW=ON");
    return kExitTrouble;
  }
  if (!CheckPositive("--scale-factor", static_cast<float>(arguments.scale_factor)) ||
      !CheckPositive("--rate", arguments.rate, true)) {
    return kExitTrouble;
  }
  const CheckedFiles files(arguments.files[0],
                           arguments.files.size() > 1 ? arguments.files[1] : std::string());
  if (const int status = StatusOf(files); status != kExitGood) {
    PrintErrors(files);
    return status;
  }
  std::vector<ViewTake> takes;
  if (!ReadTakes(arguments, files.mapping, &takes)) return kExitTrouble;
  WritePage(arguments, files, std::move(takes));
  return TellMessages(arguments.output, TakeMessages()) ? kExitGood : kExitTrouble;
}
