// KFbxTexture and KFbxVideo: a picture on a material, and the file that it comes from. Textures
// that show one file share its video.
#pragma once

#include "Fbx/kfbxsdkmanager.h"

// The picture file. Its bytes are read when the scene is written with embedded media.
class KFbxVideo : public KFbxCreated<KFbxVideo> {
 public:
  // The file that is opened for its bytes; without one nothing is embedded. The name is not
  // written, so that a scene's file does not depend on where its pictures lay.
  void SetContentFile(const char* path) { _content_file = path; }
  // Null until it is set.
  [[nodiscard]] const char* GetContentFile() const { return _content_file; }
  // The name that the scene's file has for the picture.
  void SetFileName(const char* file_name) { _file_name = KFbxText(file_name); }
  [[nodiscard]] const char* GetFileName() const { return _file_name; }
  // Where readers may look for it, beside the scene's file.
  void SetRelativeFileName(const char* file_name) { _relative_file_name = KFbxText(file_name); }
  [[nodiscard]] const char* GetRelativeFileName() const { return _relative_file_name; }

 private:
  friend class KFbxCreated<KFbxVideo>;
  using KFbxCreated::KFbxCreated;

  BtStr _content_file;
  BtStr _file_name = "";
  BtStr _relative_file_name = "";
};

class KFbxTexture : public KFbxCreated<KFbxTexture> {
 public:
  enum EWrapMode { eREPEAT, eCLAMP };

  void SetFileName(const char* file_name) { _file_name = KFbxText(file_name); }
  [[nodiscard]] const char* GetFileName() const { return _file_name; }
  void SetRelativeFileName(const char* file_name) { _relative_file_name = KFbxText(file_name); }
  [[nodiscard]] const char* GetRelativeFileName() const { return _relative_file_name; }

  // Outside of 0 to 1 in u and in v.
  void SetWrapMode(EWrapMode u, EWrapMode v) {
    _wrap_u = u;
    _wrap_v = v;
  }
  [[nodiscard]] EWrapMode GetWrapModeU() const { return _wrap_u; }
  [[nodiscard]] EWrapMode GetWrapModeV() const { return _wrap_v; }

  // The name of the meshes' set of coordinates that place the picture.
  void SetUVSet(const char* set_name) { _uv_set = KFbxText(set_name); }
  [[nodiscard]] const char* GetUVSet() const { return _uv_set; }

  // Null for a texture without a file to embed.
  void SetMedia(KFbxVideo* video) { _video = video; }
  [[nodiscard]] KFbxVideo* GetMedia() const { return _video; }

 private:
  friend class KFbxCreated<KFbxTexture>;
  using KFbxCreated::KFbxCreated;

  BtStr _file_name = "";
  BtStr _relative_file_name = "";
  EWrapMode _wrap_u = eREPEAT;
  EWrapMode _wrap_v = eREPEAT;
  BtStr _uv_set = "default";
  KFbxVideo* _video = nullptr;
};
