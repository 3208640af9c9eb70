#include "bapicturefile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "Bt/btfile.h"

namespace {

// A picture must be a regular file: reading a pipe or a device might never end.
bool IsReadablePicture(const BtStr& path) {
  struct stat info = {};
  return stat(path, &info) == 0 && S_ISREG(info.st_mode) && access(path, R_OK) == 0;
}

bool HasDrive(std::string_view name) {
  return name.size() >= 2 && name[1] == ':' &&
         std::isalpha(static_cast<unsigned char>(name[0])) != 0;
}

BtStr PicturePath(const BtStr& directory, const BtStr& name) {
  return BtFileIsAbsolutePath(name) ? name : BtFileJoin(directory, name);
}

// What of `name` leads to a readable file, null when nothing does.
BtStr FindName(const BtStr& directory, const BtStr& name) {
  std::vector<BtStr> candidates = {name};
  if (BaIsWindowsPath(name.view())) {
    std::string slashes(name.view());
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    candidates.emplace_back(slashes);
    candidates.emplace_back(std::string_view(slashes).substr(slashes.rfind('/') + 1));
  }
  for (const BtStr& candidate : candidates) {
    if (candidate.length() == 0) continue;
    if (IsReadablePicture(PicturePath(directory, candidate))) return candidate;
  }
  return {};
}

}  // namespace

bool BaIsWindowsPath(std::string_view name) {
  return HasDrive(name) || name.find('\\') != std::string_view::npos;
}

BtStr BaFindPicture(const BtStr& directory, const BtStr& name) {
  const BtStr found = FindName(directory, name);
  return found.isNull() ? found : PicturePath(directory, found);
}

BtStr BaPictureSeenFrom(const BtStr& to, const BtStr& name, const BtStr& from) {
  if (to == from) return name;
  const BtStr found = FindName(from, name);
  if (!found.isNull()) return BtFileSeenFrom(to, found, from);
  const bool is_absolute = name.view().starts_with('\\') || HasDrive(name.view());
  return name.length() == 0 || is_absolute ? name : BtFileSeenFrom(to, name, from);
}
