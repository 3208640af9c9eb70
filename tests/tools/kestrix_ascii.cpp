// The program once more, but it writes text: what the library can do and the program does not, for
// the readers that are tested with it.
#include <cstdlib>
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxscene.h"
#include "options.h"
#include "save.h"
#include "scene.h"

namespace {

bool Convert(const Settings& settings) {
  BaModel model;
  model.read(settings.model_file);
  if (BtReportError()) return false;
  model.removeBones();
  model.removeUnusedMaterials(false);
  BaModelData model_data;
  BaUnlockedMapping mapping;
  if (!model_data.fillFrom(model, true) || BtReportError()) return false;
  mapping.read(settings.dof_file, true);
  if (BtReportError()) return false;
  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  const WriterChoice writer = FindMotionBuilderWriter(manager, settings.mb_version, true);
  return CreateScene(manager, scene, model_data, settings.model_file, mapping,
                     settings.scale_factor, settings.mesh_per_body) &&
         SaveScene(manager, scene, settings.fbx_file, true, true, writer.version);
}

}  // namespace

int main(int argc, char** argv) {
  Settings settings;
  const bool converted = ParseOptions(argc, argv, &settings) && Convert(settings);
  BtReportError();
  return converted ? EXIT_SUCCESS : EXIT_FAILURE;
}
