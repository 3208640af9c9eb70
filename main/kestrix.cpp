// kestrix: converts a character model and its DOF mapping to one FBX file.
#include <malloc.h>

#include <cstdlib>
#include <iostream>
#include <limits>
#include <memory>
#include <new>

#include "bamapping.h"
#include "bamodel.h"
#include "bamodeldata.h"
#include "btexcept.h"
#include "btnew.h"
#include "cancel.h"
#include "options.h"
#include "save.h"
#include "scene.h"

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

// Prints what the step recorded; false when it was an error or the user has asked to stop.
bool StepDone() {
  if (!BtError()) theExceptObj.checkCancel();
  return !BtReportError();
}

// Records the error above what is recorded already, and prints it all.
bool Fail(const BtStr& message) {
  theExceptObj.set(message);
  BtReportError();
  return false;
}

bool ReadModel(const Settings& settings, BaModelData* model_data) {
  std::cout << "Reading " << settings.model_file << "\n" << std::flush;
  BaModel model;
  model.read(settings.model_file);
  if (!StepDone()) return false;
  model.removeBones();
  model.removeUnusedMaterials(false);
  model_data->fillFrom(model, true);
  return StepDone();
}

bool Save(const Settings& settings, KFbxSdkManager* manager, KFbxScene* scene) {
  std::cout << "Saving " << settings.fbx_file << "\n" << std::flush;
  const WriterChoice writer = FindMotionBuilderWriter(manager, settings.mb_version, false);
  if (writer.index < 0) {
    return Fail("Unsupported MB version \"" + settings.mb_version + "\".");
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
  if (!ReadModel(settings, &model_data)) return EXIT_FAILURE;

  BaUnlockedMapping mapping;
  mapping.read(settings.dof_file, true);
  if (!StepDone()) return EXIT_FAILURE;

  std::cout << "Converting to fbx...\n" << std::flush;
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
  return Save(settings, manager, scene) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  std::set_new_handler(BtExitWithoutMemory);
  if (argc <= 1) {
    PrintUsage(std::cout);
    return EXIT_SUCCESS;
  }
  Settings settings;
  if (!ParseOptions(argc, argv, &settings)) return EXIT_FAILURE;
  InstallCancel();
  return Convert(settings);
}
