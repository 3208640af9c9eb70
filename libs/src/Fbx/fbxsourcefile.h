// FbxSourceFile: a picture that is copied into a scene's file.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <span>
#include <string>

class FbxSourceFile {
 public:
  FbxSourceFile() = default;
  ~FbxSourceFile();
  FbxSourceFile(const FbxSourceFile&) = delete;
  FbxSourceFile& operator=(const FbxSourceFile&) = delete;

  // False for what cannot be read and for anything but a regular file; reason() tells why. Nothing
  // is recorded.
  bool open(const std::string& name);
  // The next bytes: how many there were, 0 at the end, -1 on a failure, which reason() explains. It
  // is one when the file ends before the size that it had at first.
  std::ptrdiff_t read(std::span<char> buffer);

  [[nodiscard]] const std::string& name() const { return _name; }
  [[nodiscard]] const char* reason() const;

 private:
  std::string _name;
  int _fd = -1;
  int _errno = 0;
  off_t _missing = 0;  // bytes still to come
  bool _cut = false;
};
