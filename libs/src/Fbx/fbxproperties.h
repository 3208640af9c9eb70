// The properties of each kind of object with their types and defaults, and how the two families
// write them: the older one all properties of every object, the newer one templates and what
// differs from them.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>

#include "Fbx/kfbxmath.h"
#include "fbxdialect.h"

class FbxRecordSink;

enum class FbxPropertyType : std::uint8_t {
  eBool,
  eInt,
  eEnum,
  eDouble,
  eNumber,
  eVector3D,
  eVector,
  eColorRGB,
  eString,
  eUrl,
  eXRefUrl,
  eDateTime,
  eTime,
  eULongLong,
  eObject,
  eCompound,
  eLclTranslation,
  eLclRotation,
  eLclScaling,
  eVisibility
};

// One to three numbers, whole ones included, or a text, as the type of the property asks.
struct FbxPropertyValue {
  std::array<double, 3> numbers{};
  std::string_view text;

  constexpr FbxPropertyValue() = default;
  constexpr FbxPropertyValue(double number) : numbers{number, 0, 0} {}
  constexpr FbxPropertyValue(double x, double y, double z) : numbers{x, y, z} {}
  constexpr FbxPropertyValue(const KFbxVector4& v) : numbers{v[0], v[1], v[2]} {}
  template <std::convertible_to<std::string_view> Text>
  constexpr FbxPropertyValue(const Text& text_in) : text(text_in) {}
  friend constexpr bool operator==(const FbxPropertyValue&, const FbxPropertyValue&) = default;
};

// A row of a property table.
struct FbxPropertyRow {
  std::string_view name;
  FbxPropertyType type;
  FbxPropertyValue value;  // the default
  std::string_view flags = "";
};

// A value of an object that may differ from the default.
struct FbxSetting {
  std::string_view name;
  FbxPropertyValue value;
};

// The tables.
std::span<const FbxPropertyRow> FbxNodeProperties();
std::span<const FbxPropertyRow> FbxSkeletonProperties();
std::span<const FbxPropertyRow> FbxMeshProperties();
std::span<const FbxPropertyRow> FbxPhongProperties();
// Copies of a material's values that older programs read; no template has them.
std::span<const FbxPropertyRow> FbxPhongLegacyProperties();
std::span<const FbxPropertyRow> FbxClusterProperties();
std::span<const FbxPropertyRow> FbxTextureProperties();
std::span<const FbxPropertyRow> FbxVideoProperties();
std::span<const FbxPropertyRow> FbxGlobalSettingsProperties();
std::span<const FbxPropertyRow> FbxSceneInfoProperties();
std::span<const FbxPropertyRow> FbxDisplayLayerProperties();
std::span<const FbxPropertyRow> FbxAnimStackProperties();
std::span<const FbxPropertyRow> FbxAnimLayerProperties();

// Writes property records of one list of one family.
class FbxPropertyWriter {
 public:
  FbxPropertyWriter(FbxRecordSink* sink, const FbxFamily& family) : _sink(sink), _family(family) {}

  // The record that the properties stand in.
  void begin();
  void end();
  // The rows of a table with the values of `settings`, which name rows in the table's order; either
  // all or those that differ from the default. `suffix` is added to the flags.
  void write(std::span<const FbxPropertyRow> table, std::span<const FbxSetting> settings = {},
             FbxSelection selection = FbxSelection::eAll, std::string_view suffix = "");
  void write(const FbxPropertyRow& row, const FbxPropertyValue& value,
             std::string_view suffix = "");

 private:
  FbxRecordSink* _sink;
  const FbxFamily& _family;
};
