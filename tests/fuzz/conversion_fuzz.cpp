// The whole conversion in memory. The first byte of an input chooses family and kind of mesh, the
// mapping begins at its identification line. What is converted is a file that the tests' own reader
// takes apart, and all of its numbers are finite.
#include <cmath>
#include <memory>
#include <string>

#include "Ba/babodymap.h"
#include "Bt/btexcept.h"
#include "Fbx/fbxrecords.h"
#include "Fbx/kfbxexporter.h"
#include "Fbx/kfbxscene.h"
#include "fuzzing.h"
#include "save.h"
#include "scene.h"

namespace {

constexpr std::string_view kMappingId = "Zov Graphic Mapping File";
constexpr std::string_view kEmptyMapping = "Zov Graphic Mapping File\nv1.0\n0\n0\n";

struct Choices {
  bool family61;
  bool mesh_per_body;
  bool embed_media;
};

void CheckNumbers(const FbxRecord& record) {
  for (const double number : record.numbers) BtAssert(std::isfinite(number));
}

void Export(KFbxSdkManager* manager, KFbxScene* scene, const Choices& choices) {
  const WriterChoice writer =
      FindMotionBuilderWriter(manager, choices.family61 ? "2010" : "2011", false);
  KFbxExporter* exporter = KFbxExporter::Create(manager, "");
  BtAssert(exporter->Initialize("out.fbx", writer.index));
  BtAssert(exporter->SetFileExportVersion(writer.version));
  exporter->GetIOSettings()->SetBoolProp(EXP_FBX_EMBEDDED, choices.embed_media);
  std::string bytes;
  const bool written = exporter->Export(scene, &bytes);
  BtAssert(written != BtError());
  if (!written) return;
  const FbxFile file = ParseFbx(bytes);
  BtAssert(file.fault.empty(), file.fault.c_str());
  BtAssert(file.version == (choices.family61 ? 6100 : 7100));
  file.main.walk(CheckNumbers);
}

void Convert(std::string_view model_text, std::string_view mapping_text, const Choices& choices) {
  BaModel model;
  if (!FuzzReadModel(model_text, &model)) return;
  model.removeBones();
  model.removeUnusedMaterials(false);
  BaModelData model_data;
  if (!model_data.fillFrom(model, true)) return;
  BaUnlockedMapping mapping;
  if (!FuzzReadMapping(mapping_text, &mapping)) return;
  // Rotations that are not one about each axis end the program.
  if (!HasEachTransformFrom(kBaFirstRotationId, mapping)) return;
  CheckMapping(mapping, model_data);
  if (BtError()) return;

  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  const BtStr model_file = BtStr(kFuzzFolder) + "/in.mdl";
  if (!CreateScene(manager, scene, model_data, model_file, mapping, 2.54F, choices.mesh_per_body)) {
    BtAssert(BtError());
    return;
  }
  BtAssert(!BtError());
  Export(manager, scene, choices);
}

}  // namespace

void FuzzOne(std::string_view input) {
  if (input.empty()) return;
  const auto bits = static_cast<unsigned char>(input.front());
  std::string_view model = input.substr(1);
  std::string_view mapping = kEmptyMapping;
  if (const std::size_t start = model.find(kMappingId); start != std::string_view::npos) {
    mapping = model.substr(start);
    model = model.substr(0, start);
  }
  Convert(model, mapping, {(bits & 1U) != 0, (bits & 2U) != 0, (bits & 4U) == 0});
}
