#include "picture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "btfile.h"

namespace {

// A picture must be a regular file: reading a pipe or a device might never end.
bool IsReadableFile(const BtStr& path) {
  struct stat info = {};
  return stat(path, &info) == 0 && S_ISREG(info.st_mode) && access(path, R_OK) == 0;
}

bool IsWindowsPath(std::string_view name) {
  const bool has_drive =
      name.size() >= 2 && name[1] == ':' && std::isalpha(static_cast<unsigned char>(name[0])) != 0;
  return has_drive || name.find('\\') != std::string_view::npos;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

// Where the name begins whose last component names the file.
std::size_t LastComponent(std::string_view name) {
  const std::size_t separator = name.find_last_of("/\\");
  return separator == std::string_view::npos ? 0 : separator + 1;
}

}  // namespace

BtStr FindPicture(const BtStr& directory, const BtStr& name) {
  std::vector<BtStr> candidates = {name};
  if (IsWindowsPath(name.view())) {
    std::string slashes(name.view());
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    candidates.emplace_back(slashes);
    candidates.emplace_back(std::string_view(slashes).substr(LastComponent(slashes)));
  }
  for (const BtStr& candidate : candidates) {
    if (candidate.length() == 0) continue;
    BtStr path = BtFileIsAbsolutePath(candidate) ? candidate : BtFileJoin(directory, candidate);
    if (IsReadableFile(path)) return path;
  }
  return {};
}

bool IsRelativePicture(const BtStr& name) {
  return name.length() > 0 && !BtFileIsAbsolutePath(name) && !IsWindowsPath(name.view());
}

BtStr PictureNames::unique(const BtStr& name) {
  const std::string_view text = name.view();
  const std::size_t start = LastComponent(text);
  const std::size_t dot = text.rfind('.');
  const std::size_t stem_end = dot == std::string_view::npos || dot < start ? text.size() : dot;
  const auto [first, is_new] = _last_number.try_emplace(LowerCase(text.substr(start)), 1);
  if (is_new) return name;
  int& number = first->second;
  while (true) {
    std::string candidate(text.substr(0, stem_end));
    candidate += '_';
    candidate += std::to_string(++number);
    candidate += text.substr(stem_end);
    if (_last_number.try_emplace(LowerCase(candidate.substr(start)), 1).second) {
      return BtStr(std::string_view(candidate));
    }
  }
}
