// Choosing the FBX version that a MotionBuilder release reads, and writing the scene.
#pragma once

#include <string>

#include "Bt/btstr.h"

class KFbxScene;
class KFbxSdkManager;

// A writer of the registry and the version that it is to write.
struct WriterChoice {
  int index = -1;  // in registry order; -1 when nothing matched
  BtStr version;   // such as "FBX201100"; null when nothing matched
};

// The first FBX writer of the wanted kind with a version whose text behind "FBX" begins with `key`.
// A short key takes the first version that fits, an empty one the first version of all.
WriterChoice FindWriter(KFbxSdkManager* manager, const BtStr& key, bool ascii);

// The same for a MotionBuilder release as the user names it ("2011", "7.5").
WriterChoice FindMotionBuilderWriter(KFbxSdkManager* manager, const BtStr& mb_version, bool ascii);

// Writes the scene; pictures of textures go into the file when `embed_media` is set. Records what
// went wrong and answers false where it cannot.
bool SaveScene(KFbxSdkManager* manager, KFbxScene* scene, const BtStr& file_name, bool ascii,
               bool embed_media, const BtStr& writer_version);

// The same bytes without a file; none after a failure.
bool SaveSceneInMemory(KFbxSdkManager* manager, KFbxScene* scene, bool ascii, bool embed_media,
                       const BtStr& writer_version, std::string* bytes);
