// KFbxSurfacePhong: a material, and the textures that drive parts of it.
#pragma once

#include <string_view>
#include <variant>
#include <vector>

#include "Fbx/kfbxmath.h"
#include "Fbx/kfbxsdkmanager.h"

class KFbxTexture;

class KFbxSurfacePhong : public KFbxCreated<KFbxSurfacePhong> {
 public:
  // Colours are red, green and blue from 0 to 1; a factor multiplies the colour of its name.
  KFbxProperty<KFbxVector4> EmissiveColor{KFbxVector4(0, 0, 0)};
  KFbxProperty<double> EmissiveFactor{1.0};
  KFbxProperty<KFbxVector4> AmbientColor{KFbxVector4(0.2, 0.2, 0.2)};
  KFbxProperty<double> AmbientFactor{1.0};
  KFbxProperty<KFbxVector4> DiffuseColor{KFbxVector4(0.8, 0.8, 0.8)};
  KFbxProperty<double> DiffuseFactor{1.0};
  // The product of colour and factor is how much passes through: black or 0 is opaque.
  KFbxProperty<KFbxVector4> TransparentColor{KFbxVector4(0, 0, 0)};
  KFbxProperty<double> TransparencyFactor{0.0};
  KFbxProperty<KFbxVector4> SpecularColor{KFbxVector4(0.2, 0.2, 0.2)};
  KFbxProperty<double> SpecularFactor{1.0};
  KFbxProperty<double> ShininessExponent{20.0};
  KFbxProperty<KFbxVector4> ReflectionColor{KFbxVector4(0, 0, 0)};
  // A new material reflects nothing. Readers take the factor alone for how metallic a surface is,
  // so it must be 0 even though the colour is black.
  KFbxProperty<double> ReflectionFactor{0.0};

  // Sets a property by its name: a colour or, by x, a number. False for a name that materials do
  // not have.
  bool SetProperty(std::string_view name, const KFbxVector4& value);

  // A texture and the property that it drives, such as "DiffuseColor".
  struct Connection {
    KFbxTexture* texture;
    const char* slot;
  };
  // False for null, for a slot that no reader knows and for one that has a texture already.
  bool Connect(KFbxTexture* texture, std::string_view slot);
  // In the order in which they were connected.
  [[nodiscard]] const std::vector<Connection>& GetTextures() const { return _textures; }

 private:
  friend class KFbxCreated<KFbxSurfacePhong>;
  using KFbxCreated::KFbxCreated;

  std::vector<Connection> _textures;
};

// A property of materials and where they keep it.
struct KFbxPhongProperty {
  std::string_view name;
  std::variant<KFbxProperty<KFbxVector4> KFbxSurfacePhong::*,
               KFbxProperty<double> KFbxSurfacePhong::*>
      member;
};

// In the order of the properties in a file.
inline constexpr KFbxPhongProperty kKFbxPhongProperties[] = {
    {"EmissiveColor", &KFbxSurfacePhong::EmissiveColor},
    {"EmissiveFactor", &KFbxSurfacePhong::EmissiveFactor},
    {"AmbientColor", &KFbxSurfacePhong::AmbientColor},
    {"AmbientFactor", &KFbxSurfacePhong::AmbientFactor},
    {"DiffuseColor", &KFbxSurfacePhong::DiffuseColor},
    {"DiffuseFactor", &KFbxSurfacePhong::DiffuseFactor},
    {"TransparentColor", &KFbxSurfacePhong::TransparentColor},
    {"TransparencyFactor", &KFbxSurfacePhong::TransparencyFactor},
    {"SpecularColor", &KFbxSurfacePhong::SpecularColor},
    {"SpecularFactor", &KFbxSurfacePhong::SpecularFactor},
    {"ShininessExponent", &KFbxSurfacePhong::ShininessExponent},
    {"ReflectionColor", &KFbxSurfacePhong::ReflectionColor},
    {"ReflectionFactor", &KFbxSurfacePhong::ReflectionFactor},
};
