// What readers and a conversion on trial record, as findings.
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "checkrules.h"
#include "save.h"
#include "scene.h"

namespace {

// Words by which a message is known.
struct MessageCode {
  std::string_view words;
  const FindingKind* kind;
};

constexpr MessageCode kErrorCodes[] = {
    {"Unsupported datafile version", Kind("version-unsupported")},
    {"includes itself.", Kind("include-circle")},
    {"undefined parent body", Kind("parent-missing")},
    {"is its own ancestor.", Kind("parent-circle")},
    {"Duplicate body id", Kind("body-id-duplicate")},
    {"Multiple bodies have id", Kind("body-id-duplicate")},
    {"Invalid body id", Kind("body-id-range")},
    {"The resulting body id", Kind("body-id-range")},
    {"Multiple bodies have name", Kind("body-name-clash")},
    {"A body cannot have the name", Kind("body-name-world")},
    {"left-handed or degenerate", Kind("left-handed")},
    {"is specified multiple times.", Kind("body-mapped-twice")},
    {"two mappings for body id", Kind("body-mapped-twice")},
    {"undefined material id", Kind("material-missing")},
    {"unspecified material id", Kind("material-missing")},
    {"specifies a material", Kind("material-missing")},
    {"references an undefined body", Kind("flex-target-undefined")},
    {"flexes to a non-existing body", Kind("flex-target-undefined")},
    {"overlapping system variable ids", Kind("variable-overlap")},
    {"there is no such body in the model.", Kind("mapped-body-missing")},
    {"not finite.", Kind("number-out-of-range")},
};

constexpr MessageCode kWarningCodes[] = {
    {"The length unit of sub-model", Kind("units-differ")},
    {"Duplicate vertex", Kind("vertex-duplicate")},
    {"egenerate polygon", Kind("polygon-degenerate")},
    {"Degnerate polygon", Kind("polygon-degenerate")},
    {"is scaled.", Kind("scaled-transform")},
    {"is sheared.", Kind("scaled-transform")},
    {"Multiple materials have name", Kind("material-name-clash")},
    {"A flexible vertex effect on body", Kind("flex-target-missing")},
    {"negative weights", Kind("weight-negative")},
    {"weights of more than 1", Kind("weight-above-one")},
    {"Texture file", Kind("texture-missing")},
    {"the material has another texture", Kind("texture-second")},
    {"Unable to embed the picture", Kind("texture-unreadable")},
    {"Mapping file specifies", Kind("variable-count")},
    {"left out.", Kind("left-out")},
};

template <std::size_t kCount>
const FindingKind* Find(const MessageCode (&codes)[kCount], std::string_view text,
                        const FindingKind* fallback) {
  for (const MessageCode& code : codes) {
    if (text.find(code.words) != std::string_view::npos) return code.kind;
  }
  return fallback;
}

// Builds the scene and writes it where nothing stays.
void ConvertToNothing(const CheckInput& input, const BaModelData& data) {
  const BaUnlockedMapping no_mapping;
  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> owner(manager, DestroySdk);
  CreateScene(manager, scene, data, input.model_file.c_str(),
              input.mapping == nullptr ? no_mapping : *input.mapping, 2.54F, false);
  const WriterChoice writer = FindMotionBuilderWriter(manager, "2011", false);
  SaveScene(manager, scene, "/dev/null", false, true, writer.version);
}

}  // namespace

void AddMessages(const std::vector<Message>& messages, const Place& place,
                 const FindingKind* fallback, Findings* findings) {
  const Findings before = *findings;
  for (const Message& message : messages) {
    const FindingKind* kind = message.is_error
                                  ? Find(kErrorCodes, message.text, fallback)
                                  : Find(kWarningCodes, message.text, Kind("other-warning"));
    if (kind != Kind("other-warning") && before.has(kind)) continue;
    findings->add(kind, place, message.text, message.count);
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
    ConvertToNothing(input, data);
  }
  AddMessages(TakeMessages(), {"model", input.model_file, {}}, Kind("conversion-fails"), findings);
}
