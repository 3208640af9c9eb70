// kestrix: converts a character model and its DOF mapping to one FBX file.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Bt/btnew.h"
#include "cancel.h"
#include "options.h"
#include "save.h"
#include "scene.h"
#include "sourcefiles.h"

namespace {

// Lets the scene come to stand where the model was. Large blocks, too, are taken from one heap,
// which keeps what is freed: pages that the system hands out anew cost more than what is done with
// them.
void KeepMemory() {
  constexpr int kLargestBlock = 1 << 30;
  constexpr int kMostFree = std::numeric_limits<int>::max();
  mallopt(M_MMAP_THRESHOLD, kLargestBlock);
  mallopt(M_TRIM_THRESHOLD, kMostFree);
  mallopt(M_MXFAST, 0);  // small pieces are joined as they are freed, not all in one search
}

bool WasCanceled(const BtExcept& exception) {
  const BtExcept* record = &exception;
  while (record->message() != "Canceled." && record->hasDetail()) record = &record->detail();
  return record->message() == "Canceled.";
}

// Prints what is recorded, and answers whether it was an error. Of a reading or writing that the
// user has stopped nothing more is said.
bool Report() {
  if (BtError() && WasCanceled(theExceptObj.exception())) {
    const std::unique_ptr<BtExcept> context(theExceptObj.release());
    theExceptObj.checkCancel();
  }
  return BtReportError();
}

// Says what is done next. False, with an error printed, when nobody can read that.
bool Say(const BtStr& line) {
  if (std::cout << line << "\n" << std::flush) return true;
  theExceptObj.set("Unable to write to standard output.");
  BtReportError();
  return false;
}

// Prints what the step recorded; false when it was an error or the user has asked to stop.
bool StepDone() {
  if (!BtError()) theExceptObj.checkCancel();
  return !Report();
}

// Records the error above what is recorded already, and prints it all.
bool Fail(const BtStr& message) {
  theExceptObj.set(message);
  Report();
  return false;
}

bool ReadModel(const Settings& settings, BaModelData* model_data, SourceFiles* sources) {
  if (!Say("Reading " + settings.model_file)) return false;
  BaModel model;
  model.read(settings.model_file);
  if (!StepDone()) return false;
  model.removeBones();
  model.removeUnusedMaterials(false);
  model_data->fillFrom(model, true);
  sources->add(model.sourceFiles());
  sources->addPictures(*model_data, BtFileDirectory(settings.model_file));
  return StepDone();
}

bool Save(const Settings& settings, const SourceFiles& sources, KFbxSdkManager* manager,
          KFbxScene* scene) {
  if (!Say("Saving " + settings.fbx_file)) return false;
  const WriterChoice writer = FindMotionBuilderWriter(manager, settings.mb_version, false);
  if (writer.index < 0) {
    return Fail("Unsupported MB version \"" + settings.mb_version + "\".");
  }
  if (!sources.checkOutput(settings.fbx_file)) {
    Report();
    return false;
  }
  if (!SaveScene(manager, scene, settings.fbx_file, false, true, writer.version)) {
    return Fail("Unable to save the fbx.");
  }
  BtReportError();  // warnings of the save
  return true;
}

// The steps of one conversion, in order. Answers the exit status.
int Convert(const Settings& settings) {
  BaModelData model_data;
  SourceFiles sources;
  if (!ReadModel(settings, &model_data, &sources)) return EXIT_FAILURE;

  BaUnlockedMapping mapping;
  mapping.read(settings.dof_file, true);
  sources.add(mapping.sourceFiles());
  if (!StepDone()) return EXIT_FAILURE;

  if (!Say("Converting to fbx...")) return EXIT_FAILURE;
  CheckMapping(mapping, model_data);
  if (!StepDone()) return EXIT_FAILURE;

  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  if (manager == nullptr) {
    std::cout << "Unable to create the FBX SDK manager, the license may be expired\n";
    return EXIT_SUCCESS;
  }
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  if (!CreateScene(manager, scene, model_data, settings.model_file, mapping, settings.scale_factor,
                   settings.mesh_per_body)) {
    theExceptObj.set("Unable to create the fbx scene.");
  }
  if (!StepDone()) return EXIT_FAILURE;
  model_data.clear();  // its memory is better used for saving
  return Save(settings, sources, manager, scene) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  std::set_new_handler(BtExitWithoutMemory);
  if (argc <= 1) {
    PrintUsage(std::cout);
    if (std::cout.flush()) return EXIT_SUCCESS;
    std::cerr << "Unable to write to standard output.\n";
    return EXIT_FAILURE;
  }
  Settings settings;
  if (!ParseOptions(argc, argv, &settings)) return EXIT_FAILURE;
  InstallCancel();
  return Convert(settings);
}
