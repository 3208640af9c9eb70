#include "picture.h"

#include <algorithm>
#include <cctype>

#include "Bt/btfile.h"
#include "bapicturefile.h"

namespace {

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

bool IsRelativePicture(const BtStr& name) {
  return name.length() > 0 && !BtFileIsAbsolutePath(name) && !BaIsWindowsPath(name.view());
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
