// KFbxExporter: writes a scene to a file.
#pragma once

#include <string>

#include "Fbx/kfbxiosettings.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxScene;
struct FbxDialect;

class KFbxExporter : public KFbxCreated<KFbxExporter> {
 public:
  // How names are adapted to the target; only the last, from FBX to FBX, is known.
  enum ERenamingMode { eFBX_TO_FBX = 5 };

  // Chooses file and format (index in the registry). Null settings stand for an exporter's own.
  // False, with an error string, for an empty name and for a format that cannot be written.
  bool Initialize(const char* file_name, int format, KFbxIOSettings* settings = nullptr);
  // One of the format's writable versions; without this call its first. False, with an error
  // string, for another version or renaming mode, and before Initialize().
  bool SetFileExportVersion(const char* version, ERenamingMode renaming = eFBX_TO_FBX);
  [[nodiscard]] KFbxIOSettings* GetIOSettings() { return _settings; }

  // Writes the scene. On a failure the error is recorded and an older file is left as it was. A
  // picture that cannot be embedded is a recorded warning.
  bool Export(KFbxScene* scene);
  // The same bytes without a file; none after a failure. The file's name is only looked at.
  bool Export(KFbxScene* scene, std::string* bytes);

  // Empty while nothing has failed.
  [[nodiscard]] const char* GetLastErrorString() const { return _last_error; }
  void Destroy() { GetFbxSdkManager()->DestroyObject(this); }

 private:
  friend class KFbxCreated<KFbxExporter>;
  using KFbxCreated::KFbxCreated;

  bool _export(KFbxScene* scene, std::string* bytes);
  bool _fail(const BtStr& message);

  BtStr _file_name;
  int _format = -1;
  const FbxDialect* _dialect = nullptr;  // null while there is no format
  BtStr _last_error = "";
  KFbxIOSettings _own_settings;
  KFbxIOSettings* _settings = &_own_settings;
};
