#include "save.h"

#include "Bt/btexcept.h"
#include "Fbx/kfbxexporter.h"
#include "Fbx/kfbxiopluginregistry.h"
#include "Fbx/kfbxiosettings.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsdkmanager.h"

namespace {

// Every version of the registry begins with "FBX"; the release number follows.
constexpr std::string_view kVersionPrefix = "FBX";
constexpr int kReleaseDigits = 4;

bool KeyMatches(std::string_view version, const BtStr& key) {
  return version.substr(std::min(kVersionPrefix.size(), version.size())).starts_with(key.view());
}

// The registry's index of the writer for a full version string; -1 when there is none.
int FindFormat(KFbxSdkManager* manager, const BtStr& writer_version, bool ascii) {
  std::string_view release = writer_version.view();
  if (!release.starts_with(kVersionPrefix)) return -1;
  release.remove_prefix(kVersionPrefix.size());
  if (release.size() < kReleaseDigits) return -1;
  return FindWriter(manager, BtStr(release.substr(0, kReleaseDigits)), ascii).index;
}

void SetExportOptions(KFbxIOSettings* settings, bool embed_media) {
  for (const char* option :
       {"Material", "Texture", "Shape", "Gobo", "Animation", "Global_Settings"}) {
    settings->SetBoolProp("Export|AdvOptGrp|Fbx|" + BtStr(option), true);
  }
  settings->SetBoolProp("Export|AdvOptGrp|Fbx|EMBEDDED", embed_media);
}

// Sets an exporter up and calls write(exporter).
template <class Write>
bool Export(KFbxSdkManager* manager, const BtStr& file_name, bool ascii, bool embed_media,
            const BtStr& writer_version, Write write) {
  const int format = FindFormat(manager, writer_version, ascii);
  if (format < 0) return BtFail("Unable to determine write format for fbx.");
  KFbxExporter* exporter = KFbxExporter::Create(manager, "");
  if (!exporter->Initialize(file_name, format, nullptr) ||
      !exporter->SetFileExportVersion(writer_version, KFbxExporter::eFBX_TO_FBX)) {
    theExceptObj.set("Error returned: %s", exporter->GetLastErrorString());
    theExceptObj.set("Call to KFbxExporter::Initialize() failed.");
    exporter->Destroy();
    return false;
  }
  SetExportOptions(exporter->GetIOSettings(), embed_media);
  const bool saved = write(exporter);
  exporter->Destroy();
  return saved;
}

}  // namespace

WriterChoice FindWriter(KFbxSdkManager* manager, const BtStr& key, bool ascii) {
  const KFbxIOPluginRegistry* registry = manager->GetIOPluginRegistry();
  const std::string_view kind = ascii ? "ascii" : "binary";
  for (int i = 0; i < registry->GetWriterFormatCount(); ++i) {
    const std::string_view description = registry->GetWriterFormatDescription(i);
    if (!registry->WriterIsFBX(i) || description.find(kind) == std::string_view::npos) continue;
    for (const char* const* version = registry->GetWritableVersions(i); *version != nullptr;
         ++version) {
      if (KeyMatches(*version, key)) return {i, *version};
    }
  }
  return {};
}

WriterChoice FindMotionBuilderWriter(KFbxSdkManager* manager, const BtStr& mb_version, bool ascii) {
  // Release 7.5 came before releases were named after years; it reads the files of 2006.
  return FindWriter(manager, mb_version == "7.5" ? BtStr("2006") : mb_version, ascii);
}

bool SaveScene(KFbxSdkManager* manager, KFbxScene* scene, const BtStr& file_name, bool ascii,
               bool embed_media, const BtStr& writer_version) {
  return Export(manager, file_name, ascii, embed_media, writer_version,
                [&](KFbxExporter* exporter) { return exporter->Export(scene); });
}

bool SaveSceneInMemory(KFbxSdkManager* manager, KFbxScene* scene, bool ascii, bool embed_media,
                       const BtStr& writer_version, std::string* bytes) {
  return Export(manager, "memory", ascii, embed_media, writer_version,
                [&](KFbxExporter* exporter) { return exporter->Export(scene, bytes); });
}
