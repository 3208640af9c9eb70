#include "conversion.h"

#include <iostream>
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "options.h"
#include "save.h"
#include "scene.h"
#include "sourcefiles.h"

namespace {

bool WasCanceled(const BtExcept& exception) {
  const BtExcept* record = &exception;
  while (record->message() != "Canceled." && record->hasDetail()) record = &record->detail();
  return record->message() == "Canceled.";
}

// Tells what is recorded, and answers whether it was an error. Of a reading or writing that the
// user has stopped nothing more is said.
bool Report(ConversionListener* listener) {
  const bool is_error = BtError();
  if (is_error && WasCanceled(theExceptObj.exception())) {
    const std::unique_ptr<BtExcept> context(theExceptObj.release());
    theExceptObj.checkCancel();
  }
  if (theExceptObj.hasException()) listener->onRecords();
  return is_error;
}

// Tells what the step recorded; false when it was an error or the user has asked to stop.
bool StepDone(ConversionListener* listener) {
  if (!BtError()) theExceptObj.checkCancel();
  return !Report(listener);
}

// Records the error above what is recorded already, and tells it all.
bool Fail(const BtStr& message, ConversionListener* listener) {
  theExceptObj.set(message);
  Report(listener);
  return false;
}

bool ReadModel(const Settings& settings, BaModelData* model_data, SourceFiles* sources,
               ConversionListener* listener) {
  if (!listener->onStep("Reading " + settings.model_file)) return false;
  BaModel model;
  model.read(settings.model_file);
  if (!StepDone(listener)) return false;
  model.removeBones();
  model.removeUnusedMaterials(false);
  model_data->moveFrom(&model, true);
  sources->add(model.sourceFiles());
  sources->addPictures(*model_data, BtFileDirectory(settings.model_file));
  return StepDone(listener);
}

bool Save(const Settings& settings, const SourceFiles& sources, KFbxSdkManager* manager,
          KFbxScene* scene, ConversionListener* listener) {
  if (!listener->onStep("Saving " + settings.fbx_file)) return false;
  const WriterChoice writer = FindMotionBuilderWriter(manager, settings.mb_version, settings.ascii);
  if (writer.index < 0) {
    return Fail("Unsupported MB version \"" + settings.mb_version + "\".", listener);
  }
  if (!sources.checkOutput(settings.fbx_file)) {
    Report(listener);
    return false;
  }
  if (!SaveScene(manager, scene, settings.fbx_file, settings.ascii, true, writer.version)) {
    return Fail("Unable to save the fbx.", listener);
  }
  Report(listener);  // warnings of the save
  return true;
}

}  // namespace

bool ConversionListener::onStep(const BtStr& line) {
  if (std::cout << line << "\n" << std::flush) return true;
  theExceptObj.set("Unable to write to standard output.");
  BtReportError();
  return false;
}

void ConversionListener::onRecords() { BtReportError(); }

bool Convert(const Settings& settings, ConversionListener* listener) {
  BaModelData model_data;
  SourceFiles sources;
  if (!ReadModel(settings, &model_data, &sources, listener)) return false;

  BaUnlockedMapping mapping;
  mapping.read(settings.dof_file, true);
  sources.add(mapping.sourceFiles());
  if (!StepDone(listener)) return false;

  if (!listener->onStep("Converting to fbx...")) return false;
  CheckMapping(mapping, model_data);
  if (!StepDone(listener) || !listener->onMapping(mapping)) return false;

  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  if (manager == nullptr) {
    return listener->onStep("Unable to create the FBX SDK manager, the license may be expired");
  }
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  if (!CreateScene(manager, scene, model_data, settings.model_file, mapping, settings.scale_factor,
                   settings.mesh_per_body, {&model_data, &mapping})) {
    theExceptObj.set("Unable to create the fbx scene.");
  }
  if (!StepDone(listener)) return false;
  model_data.clear();
  return Save(settings, sources, manager, scene, listener);
}
