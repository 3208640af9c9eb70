// KFbxIOPluginRegistry: the file formats that writers exist for, in the order that callers number
// them.
#pragma once

// How a file holds its records; formats that are not FBX are listed and refused.
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
  [[nodiscard]] FbxKind WriterKind(int format) const;
};
