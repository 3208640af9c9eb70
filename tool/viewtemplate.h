// The page that "view" fills, as it was bundled when the program was built.
#pragma once

#include <string_view>

// The text before the data and behind it; both empty in a build without the viewer.
struct ViewTemplate {
  std::string_view before;
  std::string_view after;
};
[[nodiscard]] ViewTemplate TheViewTemplate();
