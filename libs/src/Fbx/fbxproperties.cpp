#include "fbxproperties.h"

#include <cstddef>
#include <string>

#include "Bt/btassert.h"
#include "fbxrecordsink.h"

namespace {

using enum FbxPropertyType;

// How the numbers of a type stand in the file.
enum class Storage : std::uint8_t { eNone, eInt, eLong, eDouble, eThreeDoubles, eText };

struct TypeInfo {
  std::string_view name;
  std::string_view label;  // the second type name of the newer family
  FbxPropertyType type;
  Storage storage;
};

// In the order of the enumeration.
constexpr TypeInfo kTypes[] = {
    {"bool", "", eBool, Storage::eInt},
    {"int", "Integer", eInt, Storage::eInt},
    {"enum", "", eEnum, Storage::eInt},
    {"double", "Number", eDouble, Storage::eDouble},
    {"Number", "", eNumber, Storage::eDouble},
    {"Vector3D", "Vector", eVector3D, Storage::eThreeDoubles},
    {"Vector", "", eVector, Storage::eThreeDoubles},
    {"ColorRGB", "Color", eColorRGB, Storage::eThreeDoubles},
    {"KString", "", eString, Storage::eText},
    {"KString", "Url", eUrl, Storage::eText},
    {"KString", "XRefUrl", eXRefUrl, Storage::eText},
    {"DateTime", "", eDateTime, Storage::eText},
    {"KTime", "Time", eTime, Storage::eLong},
    {"ULongLong", "", eULongLong, Storage::eLong},
    {"object", "", eObject, Storage::eNone},
    {"Compound", "", eCompound, Storage::eNone},
    {"Lcl Translation", "", eLclTranslation, Storage::eThreeDoubles},
    {"Lcl Rotation", "", eLclRotation, Storage::eThreeDoubles},
    {"Lcl Scaling", "", eLclScaling, Storage::eThreeDoubles},
    {"Visibility", "", eVisibility, Storage::eDouble},
};

const TypeInfo& InfoOf(FbxPropertyType type) {
  const TypeInfo& info = kTypes[static_cast<std::size_t>(type)];
  BtAssert(info.type == type);
  return info;
}

// Angles, offsets and the like in the units of the format: degrees, centimetres.
constexpr FbxPropertyRow kNode[] = {
    {"QuaternionInterpolate", eBool, 0},
    {"RotationOffset", eVector3D, 0},
    {"RotationPivot", eVector3D, 0},
    {"ScalingOffset", eVector3D, 0},
    {"ScalingPivot", eVector3D, 0},
    {"TranslationActive", eBool, 0},
    {"TranslationMin", eVector3D, 0},
    {"TranslationMax", eVector3D, 0},
    {"TranslationMinX", eBool, 0},
    {"TranslationMinY", eBool, 0},
    {"TranslationMinZ", eBool, 0},
    {"TranslationMaxX", eBool, 0},
    {"TranslationMaxY", eBool, 0},
    {"TranslationMaxZ", eBool, 0},
    {"RotationOrder", eEnum, 0},
    {"RotationSpaceForLimitOnly", eBool, 0},
    {"RotationStiffnessX", eDouble, 0},
    {"RotationStiffnessY", eDouble, 0},
    {"RotationStiffnessZ", eDouble, 0},
    {"AxisLen", eDouble, 10},
    {"PreRotation", eVector3D, 0},
    {"PostRotation", eVector3D, 0},
    {"RotationActive", eBool, 0},
    {"RotationMin", eVector3D, 0},
    {"RotationMax", eVector3D, 0},
    {"RotationMinX", eBool, 0},
    {"RotationMinY", eBool, 0},
    {"RotationMinZ", eBool, 0},
    {"RotationMaxX", eBool, 0},
    {"RotationMaxY", eBool, 0},
    {"RotationMaxZ", eBool, 0},
    {"InheritType", eEnum, 0},
    {"ScalingActive", eBool, 0},
    {"ScalingMin", eVector3D, 0},
    {"ScalingMax", eVector3D, {1, 1, 1}},
    {"ScalingMinX", eBool, 0},
    {"ScalingMinY", eBool, 0},
    {"ScalingMinZ", eBool, 0},
    {"ScalingMaxX", eBool, 0},
    {"ScalingMaxY", eBool, 0},
    {"ScalingMaxZ", eBool, 0},
    {"GeometricTranslation", eVector3D, 0},
    {"GeometricRotation", eVector3D, 0},
    {"GeometricScaling", eVector3D, {1, 1, 1}},
    {"MinDampRangeX", eDouble, 0},
    {"MinDampRangeY", eDouble, 0},
    {"MinDampRangeZ", eDouble, 0},
    {"MaxDampRangeX", eDouble, 0},
    {"MaxDampRangeY", eDouble, 0},
    {"MaxDampRangeZ", eDouble, 0},
    {"MinDampStrengthX", eDouble, 0},
    {"MinDampStrengthY", eDouble, 0},
    {"MinDampStrengthZ", eDouble, 0},
    {"MaxDampStrengthX", eDouble, 0},
    {"MaxDampStrengthY", eDouble, 0},
    {"MaxDampStrengthZ", eDouble, 0},
    {"PreferedAngleX", eDouble, 0},
    {"PreferedAngleY", eDouble, 0},
    {"PreferedAngleZ", eDouble, 0},
    {"LookAtProperty", eObject, 0},
    {"UpVectorProperty", eObject, 0},
    {"Show", eBool, 1},
    {"NegativePercentShapeSupport", eBool, 1},
    {"DefaultAttributeIndex", eInt, -1},
    {"Freeze", eBool, 0},
    {"LODBox", eBool, 0},
    {"Lcl Translation", eLclTranslation, 0, "A+"},
    {"Lcl Rotation", eLclRotation, 0, "A+"},
    {"Lcl Scaling", eLclScaling, {1, 1, 1}, "A+"},
    {"Visibility", eVisibility, 1, "A+"},
};

constexpr FbxPropertyRow kSkeleton[] = {
    {"Color", eColorRGB, {0.8, 0.8, 0.8}},
    {"Size", eDouble, 100},
    {"LimbLength", eDouble, 1, "H"},
};

constexpr FbxPropertyRow kMesh[] = {
    {"Color", eColorRGB, {0.8, 0.8, 0.8}},
    {"BBoxMin", eVector3D, 0},
    {"BBoxMax", eVector3D, 0},
};

constexpr FbxPropertyRow kPhong[] = {
    {"ShadingModel", eString, "Phong"},
    {"MultiLayer", eBool, 0},
    {"EmissiveColor", eColorRGB, 0},
    {"EmissiveFactor", eDouble, 1},
    {"AmbientColor", eColorRGB, {0.2, 0.2, 0.2}},
    {"AmbientFactor", eDouble, 1},
    {"DiffuseColor", eColorRGB, {0.8, 0.8, 0.8}},
    {"DiffuseFactor", eDouble, 1},
    {"Bump", eVector3D, 0},
    {"NormalMap", eVector3D, 0},
    {"BumpFactor", eDouble, 1},
    {"TransparentColor", eColorRGB, 0},
    {"TransparencyFactor", eDouble, 0},
    {"DisplacementColor", eColorRGB, 0},
    {"DisplacementFactor", eDouble, 1},
    {"SpecularColor", eColorRGB, {0.2, 0.2, 0.2}},
    {"SpecularFactor", eDouble, 1},
    {"ShininessExponent", eDouble, 20},
    {"ReflectionColor", eColorRGB, 0},
    {"ReflectionFactor", eDouble, 1},
};

constexpr FbxPropertyRow kPhongLegacy[] = {
    {"Emissive", eVector3D, 0},   {"Ambient", eVector3D, 0}, {"Diffuse", eVector3D, 0},
    {"Specular", eVector3D, 0},   {"Shininess", eDouble, 0}, {"Opacity", eDouble, 1},
    {"Reflectivity", eDouble, 0},
};

constexpr FbxPropertyRow kCluster[] = {
    {"SrcModel", eObject, 0},
    {"SrcModelReference", eObject, 0},
};

constexpr FbxPropertyRow kTexture[] = {
    {"TextureTypeUse", eEnum, 0},
    {"Texture alpha", eNumber, 1, "A+"},
    {"CurrentMappingType", eEnum, 0},
    {"WrapModeU", eEnum, 0},
    {"WrapModeV", eEnum, 0},
    {"UVSwap", eBool, 0},
    {"Translation", eVector, 0, "A+"},
    {"Rotation", eVector, 0, "A+"},
    {"Scaling", eVector, {1, 1, 1}, "A+"},
    {"TextureRotationPivot", eVector3D, 0},
    {"TextureScalingPivot", eVector3D, 0},
    {"CurrentTextureBlendMode", eEnum, 1},
    {"UVSet", eString, "default"},
    {"UseMaterial", eBool, 0},
    {"UseMipMap", eBool, 0},
};

constexpr FbxPropertyRow kVideo[] = {
    {"FrameRate", eDouble, 0},   {"LastFrame", eInt, 0},    {"Width", eInt, 0},
    {"Height", eInt, 0},         {"Path", eXRefUrl, ""},    {"StartFrame", eInt, 0},
    {"StopFrame", eInt, 0},      {"PlaySpeed", eDouble, 0}, {"Offset", eTime, 0},
    {"InterlaceMode", eEnum, 0}, {"FreeRunning", eBool, 0}, {"Loop", eBool, 0},
    {"AccessMode", eEnum, 0},
};

// Y up, right-handed, one unit is a centimetre; one second of time in 1/46186158000 s.
constexpr FbxPropertyRow kGlobalSettings[] = {
    {"UpAxis", eInt, 1},
    {"UpAxisSign", eInt, 1},
    {"FrontAxis", eInt, 2},
    {"FrontAxisSign", eInt, 1},
    {"CoordAxis", eInt, 0},
    {"CoordAxisSign", eInt, 1},
    {"OriginalUpAxis", eInt, -1},
    {"OriginalUpAxisSign", eInt, 1},
    {"UnitScaleFactor", eDouble, 1},
    {"OriginalUnitScaleFactor", eDouble, 1},
    {"AmbientColor", eColorRGB, 0},
    {"DefaultCamera", eString, "Producer Perspective"},
    {"TimeMode", eEnum, 0},
    {"TimeSpanStart", eTime, 0},
    {"TimeSpanStop", eTime, 46186158000},
};

constexpr FbxPropertyRow kSceneInfo[] = {
    {"DocumentUrl", eUrl, ""},
    {"SrcDocumentUrl", eUrl, ""},
    {"Original", eCompound, 0},
    {"Original|ApplicationVendor", eString, ""},
    {"Original|ApplicationName", eString, ""},
    {"Original|ApplicationVersion", eString, ""},
    {"Original|DateTime_GMT", eDateTime, ""},
    {"Original|FileName", eString, ""},
    {"LastSaved", eCompound, 0},
    {"LastSaved|ApplicationVendor", eString, ""},
    {"LastSaved|ApplicationName", eString, ""},
    {"LastSaved|ApplicationVersion", eString, ""},
    {"LastSaved|DateTime_GMT", eDateTime, ""},
};

constexpr FbxPropertyRow kDisplayLayer[] = {
    {"Color", eColorRGB, {0.8, 0.8, 0.8}},
    {"Show", eBool, 1},
    {"Freeze", eBool, 0},
    {"LODBox", eBool, 0},
};

constexpr FbxPropertyRow kAnimStack[] = {
    {"Description", eString, ""}, {"LocalStart", eTime, 0},    {"LocalStop", eTime, 0},
    {"ReferenceStart", eTime, 0}, {"ReferenceStop", eTime, 0},
};

constexpr FbxPropertyRow kAnimLayer[] = {
    {"Weight", eNumber, 100, "A+"},
    {"Mute", eBool, 0},
    {"Solo", eBool, 0},
    {"Lock", eBool, 0},
    {"Color", eColorRGB, {0.8, 0.8, 0.8}},
    {"BlendMode", eEnum, 0},
    {"RotationAccumulationMode", eEnum, 0},
    {"ScaleAccumulationMode", eEnum, 0},
    {"BlendModeBypass", eULongLong, 0},
};

}  // namespace

std::span<const FbxPropertyRow> FbxNodeProperties() { return kNode; }
std::span<const FbxPropertyRow> FbxSkeletonProperties() { return kSkeleton; }
std::span<const FbxPropertyRow> FbxMeshProperties() { return kMesh; }
std::span<const FbxPropertyRow> FbxPhongProperties() { return kPhong; }
std::span<const FbxPropertyRow> FbxPhongLegacyProperties() { return kPhongLegacy; }
std::span<const FbxPropertyRow> FbxClusterProperties() { return kCluster; }
std::span<const FbxPropertyRow> FbxTextureProperties() { return kTexture; }
std::span<const FbxPropertyRow> FbxVideoProperties() { return kVideo; }
std::span<const FbxPropertyRow> FbxGlobalSettingsProperties() { return kGlobalSettings; }
std::span<const FbxPropertyRow> FbxSceneInfoProperties() { return kSceneInfo; }
std::span<const FbxPropertyRow> FbxDisplayLayerProperties() { return kDisplayLayer; }
std::span<const FbxPropertyRow> FbxAnimStackProperties() { return kAnimStack; }
std::span<const FbxPropertyRow> FbxAnimLayerProperties() { return kAnimLayer; }

void FbxPropertyWriter::begin() { _sink->open(_family.property_list); }

void FbxPropertyWriter::end() { _sink->end(); }

void FbxPropertyWriter::write(std::span<const FbxPropertyRow> table,
                              std::span<const FbxSetting> settings, FbxSelection selection,
                              std::string_view suffix) {
  for (const FbxPropertyRow& row : table) {
    const bool is_set = !settings.empty() && settings.front().name == row.name;
    const FbxPropertyValue& value = is_set ? settings.front().value : row.value;
    if (selection == FbxSelection::eAll || value != row.value) {
      write(row, value, suffix);
    }
    if (is_set) settings = settings.subspan(1);
  }
  BtAssert(settings.empty());
}

void FbxPropertyWriter::write(const FbxPropertyRow& row, const FbxPropertyValue& value,
                              std::string_view suffix) {
  const TypeInfo& info = InfoOf(row.type);
  _sink->begin(_family.property);
  _sink->add(row.name);
  _sink->add(info.name);
  if (_family.has_labels) _sink->add(info.label);
  if (suffix.empty()) {
    _sink->add(row.flags);
  } else {
    _sink->add(std::string_view(std::string(row.flags) + std::string(suffix)));
  }
  switch (info.storage) {
    case Storage::eNone:
      break;
    case Storage::eInt:
      _sink->add(static_cast<std::int32_t>(value.numbers[0]));
      break;
    case Storage::eLong:
      _sink->add(static_cast<std::int64_t>(value.numbers[0]));
      break;
    case Storage::eDouble:
      _sink->add(value.numbers[0]);
      break;
    case Storage::eThreeDoubles:
      for (const double number : value.numbers) _sink->add(number);
      break;
    case Storage::eText:
      _sink->add(value.text);
      break;
  }
  _sink->end();
}
