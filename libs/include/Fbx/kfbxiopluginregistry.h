// KFbxIOPluginRegistry: the file formats that writers exist for, in the order that callers number
// them.
#pragma once

// The layout of a file.
enum class FbxFamily {
  eNone,  // not an FBX file; such formats are listed and refused
  e71,    // file version 7100: objects with ids
  e61     // file version 6100: objects by name
};

enum class FbxKind { eBinary, eAscii, eEncrypted, eOther };

class KFbxIOPluginRegistry {
 public:
  [[nodiscard]] int GetWriterFormatCount() const;

  // Formats are numbered from 0; another index is an assertion failure.
  [[nodiscard]] const char* GetWriterFormatDescription(int format) const;
  [[nodiscard]] bool WriterIsFBX(int format) const;
  // The version strings that the writer can write, such as "FBX201100"; a null pointer ends the
  // list.
  [[nodiscard]] const char* const* GetWritableVersions(int format) const;

  // How an exporter has to write the format.
  [[nodiscard]] FbxFamily WriterFamily(int format) const;
  [[nodiscard]] FbxKind WriterKind(int format) const;
};
