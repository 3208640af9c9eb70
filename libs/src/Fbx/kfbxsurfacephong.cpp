#include "Fbx/kfbxsurfacephong.h"

#include <algorithm>
#include <iterator>

namespace {

// The properties that readers look for textures on.
constexpr const char* kSlots[] = {
    "DiffuseColor",     "AmbientColor",    "EmissiveColor", "SpecularColor",
    "TransparentColor", "ReflectionColor", "NormalMap",     "Bump"};

void Set(const KFbxVector4& value, KFbxProperty<KFbxVector4>* color) { color->Set(value); }
void Set(const KFbxVector4& value, KFbxProperty<double>* number) { number->Set(value[0]); }

}  // namespace

bool KFbxSurfacePhong::SetProperty(std::string_view name, const KFbxVector4& value) {
  const auto* found = std::ranges::find(kKFbxPhongProperties, name, &KFbxPhongProperty::name);
  if (found == std::end(kKFbxPhongProperties)) return false;
  std::visit([&](auto member) { Set(value, &(this->*member)); }, found->member);
  return true;
}

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
