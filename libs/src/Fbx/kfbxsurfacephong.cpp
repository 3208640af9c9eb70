#include "Fbx/kfbxsurfacephong.h"

#include <algorithm>
#include <iterator>

namespace {

// The properties that readers look for textures on.
constexpr const char* kSlots[] = {
    "DiffuseColor",     "AmbientColor",    "EmissiveColor", "SpecularColor",
    "TransparentColor", "ReflectionColor", "NormalMap",     "Bump"};

}  // namespace

bool KFbxSurfacePhong::Connect(KFbxTexture* texture, std::string_view slot) {
  const auto* known = std::find(std::begin(kSlots), std::end(kSlots), slot);
  if (texture == nullptr || known == std::end(kSlots)) return false;
  if (std::any_of(_textures.begin(), _textures.end(),
                  [slot](const Connection& other) { return other.slot == slot; })) {
    return false;
  }
  _textures.push_back({texture, *known});
  return true;
}
