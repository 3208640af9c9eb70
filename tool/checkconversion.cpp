// What readers and a conversion on trial record, as findings.
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "checkrules.h"
#include "save.h"
#include "scene.h"

namespace {

const FindingKind* FindingKindOf(const Message& message, const FindingKind* fallback) {
  const FindingKind* const kind = message.code == nullptr ? nullptr : FindKind(message.code);
  if (kind != nullptr) return kind;
  return message.is_error ? fallback : Kind("other-warning");
}

// The name of the file stands in front of a finding.
std::string WithoutFile(std::string text, const std::string& file) {
  for (const std::string& start :
       {"Unable to read '" + file + "'. ", "Unable to read file '" + file + "'. "}) {
    const std::size_t at = text.find(start);
    if (at != std::string::npos) text.erase(at, start.size());
  }
  return text;
}

// Builds the scene and its file, of which nothing stays.
void ConvertInMemory(const CheckInput& input, const BaModelData& data) {
  const BaUnlockedMapping no_mapping;
  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  CreateScene(manager, scene, data, input.model_file.c_str(),
              input.mapping == nullptr ? no_mapping : *input.mapping,
              static_cast<float>(input.scale_factor), false);
  const WriterChoice writer = FindMotionBuilderWriter(manager, "2011", false);
  std::string bytes;
  SaveSceneInMemory(manager, scene, false, true, writer.version, &bytes);
}

}  // namespace

void AddMessages(const std::vector<Message>& messages, const Place& place,
                 const FindingKind* fallback, Findings* findings) {
  const Findings before = *findings;
  for (const Message& message : messages) {
    const FindingKind* const kind = FindingKindOf(message, fallback);
    const bool is_known =
        before.has(kind) ||
        (kind == Kind("texture-missing") &&
         (before.has(Kind("texture-case")) || before.has(Kind("texture-unreadable"))));
    if (kind != Kind("other-warning") && is_known) continue;
    Finding finding = {kind, place, WithoutFile(message.text, place.name), message.count,
                       message.where};
    finding.detail = message.detail;
    findings->add(std::move(finding));
  }
}

void TryConversion(const CheckInput& input, BaModel* model, Findings* findings) {
  if (findings->count(Severity::Error) > 0) return;
  model->removeBones();
  model->removeUnusedMaterials(false);
  BaModelData data;
  if (data.fillFrom(*model, true) && !BtError()) {
    // Warnings must not stand below errors of later steps.
    const std::vector<Message> filling = TakeMessages();
    AddMessages(filling, {"model", input.model_file, {}}, Kind("conversion-fails"), findings);
    ConvertInMemory(input, data);
  }
  AddMessages(TakeMessages(), {"model", input.model_file, {}}, Kind("conversion-fails"), findings);
}
