// The layer elements by which files of the older family place textures on polygons.
#pragma once

#include <string_view>

// That of the textures of each slot of materials, and that of their coordinates.
struct FbxSlotElement {
  std::string_view slot;
  std::string_view element;
  std::string_view uv_element;
};

inline constexpr FbxSlotElement kFbxSlotElements[] = {
    {"DiffuseColor", "LayerElementTexture", "LayerElementUV"},
    {"AmbientColor", "LayerElementAmbientTextures", "LayerElementAmbientUV"},
    {"EmissiveColor", "LayerElementEmissive_Textures", "LayerElementEmissiveUV"},
    {"SpecularColor", "LayerElementSpecularTextures", "LayerElementSpecularUV"},
    {"TransparentColor", "LayerElementTransparentTextures", "LayerElementTransparentUV"},
    {"ReflectionColor", "LayerElementReflectionTextures", "LayerElementReflectionUV"},
    {"NormalMap", "LayerElementNormalMapTextures", "LayerElementNormalMapUV"},
    {"Bump", "LayerElementBumpTextures", "LayerElementBumpUV"},
};
