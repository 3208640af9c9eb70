#include "Fbx/kfbxexporter.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "fbxasciiencoder.h"
#include "fbxbinaryencoder.h"
#include "fbxdialect.h"
#include "fbxdocument.h"
#include "fbxoutputfile.h"
#include "fbxscenecontent.h"

namespace {

std::unique_ptr<FbxRecordSink> MakeEncoder(FbxOutputFile* file, bool is_ascii, std::int32_t version,
                                           const FbxCreationTime& time) {
  if (is_ascii) return std::make_unique<FbxAsciiEncoder>(file, version);
  return std::make_unique<FbxBinaryEncoder>(file, version, time);
}

// The dialect of a version that the registry lists.
const FbxDialect& DialectOf(std::string_view version) {
  const auto* dialect =
      std::find_if(std::begin(kFbxDialects), std::end(kFbxDialects),
                   [version](const FbxDialect& known) { return known.version == version; });
  BtAssert(dialect != std::end(kFbxDialects));
  return *dialect;
}

}  // namespace

bool KFbxExporter::Initialize(const char* file_name, int format, KFbxIOSettings* settings) {
  const KFbxIOPluginRegistry& registry = *GetFbxSdkManager()->GetIOPluginRegistry();
  _format = -1;
  if (file_name == nullptr || *file_name == '\0') return _fail("No file name is given.");
  if (format < 0 || format >= registry.GetWriterFormatCount()) {
    return _fail(BtFormat("There is no file format %d.", format));
  }
  const FbxKind kind = registry.WriterKind(format);
  if (kind != FbxKind::eBinary && kind != FbxKind::eAscii) {
    return _fail(BtFormat("Files of the format \"%s\" cannot be written.",
                          registry.GetWriterFormatDescription(format)));
  }
  _file_name = file_name;
  _format = format;
  _dialect = &DialectOf(registry.GetWritableVersions(format)[0]);
  _settings = settings == nullptr ? &_own_settings : settings;
  return true;
}

bool KFbxExporter::SetFileExportVersion(const char* version, ERenamingMode renaming) {
  if (_format < 0) return _fail("The exporter has no file format yet.");
  if (renaming != eFBX_TO_FBX) return _fail("The renaming mode is not known.");
  const KFbxIOPluginRegistry& registry = *GetFbxSdkManager()->GetIOPluginRegistry();
  const std::string_view wanted = version == nullptr ? "" : version;
  for (const char* const* known = registry.GetWritableVersions(_format); *known != nullptr;
       ++known) {
    if (wanted != *known) continue;
    _dialect = &DialectOf(wanted);
    return true;
  }
  return _fail(BtFormat("The format \"%s\" has no version \"%s\".",
                        registry.GetWriterFormatDescription(_format), wanted.data()));
}

bool KFbxExporter::Export(KFbxScene* scene) { return _export(scene, nullptr); }

bool KFbxExporter::Export(KFbxScene* scene, std::string* bytes) {
  BtAssert(bytes);
  bytes->clear();
  return _export(scene, bytes);
}

bool KFbxExporter::_export(KFbxScene* scene, std::string* bytes) {
  BtAssert(scene);
  if (_format < 0) {
    theExceptObj.set("The exporter has no file format yet.");
    return _fail(theExceptObj.exception().message());
  }
  const KFbxIOPluginRegistry& registry = *GetFbxSdkManager()->GetIOPluginRegistry();
  const FbxFamily& family = *_dialect->family;
  const std::string file_name(_file_name.view());
  const bool is_ascii = registry.WriterKind(_format) == FbxKind::eAscii;
  FbxSceneContent content;
  FbxOutputFile file(is_ascii ? FbxOutputFile::kNoLimit : FbxOutputFile::kMaxSize);
  if (!content.collect(scene, *_settings, family.has_ids) ||
      !(bytes == nullptr ? file.open(file_name) : file.openMemory(bytes)) ||
      !file.expect(content.models.size() * family.fewest_model_bytes)) {
    return _fail(theExceptObj.exception().message());
  }
  const FbxDocumentSource source = {scene,
                                    &content,
                                    _dialect,
                                    FbxCreationTime::Current(),
                                    _settings->GetBoolProp(EXP_FBX_EMBEDDED, false),
                                    file.folder()};
  const std::unique_ptr<FbxRecordSink> encoder =
      MakeEncoder(&file, is_ascii, _dialect->file_version, source.creation_time);
  family.write(encoder.get(), source);
  if (file.commit()) return true;
  return _fail(theExceptObj.exception().message());
}

bool KFbxExporter::_fail(const BtStr& message) {
  _last_error = message;
  return false;
}
