#include "fbxsettings.h"

#include <algorithm>
#include <array>
#include <map>

#include "Fbx/kfbxtime.h"
#include "style.h"

namespace {

constexpr int kFirstTypedVersion = 7000;  // properties have two words for their type from here on

using PropertiesByName = std::map<std::string, FbxPropertyText>;

// A property with the word that tells whose it is.
struct FlaggedProperty {
  FbxPropertyText property;
  std::string_view flags;
};

// Values stand behind the flags, which are the value `flags_at`.
FlaggedProperty ReadProperty(const FbxRecordFile::Record& record, std::size_t flags_at) {
  FlaggedProperty read;
  FbxPropertyText& property = read.property;
  FbxValueCursor cursor(record.values);
  FbxReadValue value;
  for (std::size_t i = 0; cursor.next(&value); ++i) {
    if (i == 0) property.name = value.bytes;
    if (i == flags_at) read.flags = value.bytes;
    if (i <= flags_at) continue;
    const bool is_text = value.code == 'S' || value.code == 'R';
    if (!is_text) property.numbers.push_back(value.number);
    property.text += (property.text.empty() ? "" : " ") +
                     (is_text ? std::string(value.bytes) : Short(value.number));
  }
  return read;
}

// Those of an object, by its record.
std::vector<FlaggedProperty> PropertiesOf(const FbxRecordFile& file, std::size_t object) {
  const bool is_typed = file.version() >= kFirstTypedVersion;
  const std::size_t list = file.child(object, is_typed ? "Properties70" : "Properties60");
  std::vector<FlaggedProperty> properties;
  if (list == FbxRecordFile::kNone) return properties;
  file.forEachChild(list, [&](std::size_t record) {
    properties.push_back(ReadProperty(file[record], is_typed ? 3 : 2));
  });
  return properties;
}

// Takes the number of a property out of those that are left.
double TakeNumber(const std::string& name, PropertiesByName* properties) {
  const auto found = properties->find(name);
  if (found == properties->end()) return 0;
  const double number = found->second.numbers.empty() ? 0 : found->second.numbers.front();
  properties->erase(found);
  return number;
}

std::string AxisText(const std::string& name, PropertiesByName* properties) {
  constexpr std::array kAxes = {"x", "y", "z"};
  const double axis = TakeNumber(name, properties);
  const double sign = TakeNumber(name + "Sign", properties);
  const bool is_known = axis >= 0 && axis < kAxes.size();
  return (sign < 0 ? "-" : "") +
         (is_known ? std::string(kAxes[static_cast<std::size_t>(axis)]) : "axis " + Short(axis));
}

std::string RateText(PropertiesByName* properties) {
  const double mode = TakeNumber("TimeMode", properties);
  const double custom = TakeNumber("CustomFrameRate", properties);
  if (mode == double{eCUSTOM}) return Short(custom);
  if (mode == double{eDEFAULT_MODE}) return "not stated";
  const double rate = KFbxFrameRate::OfTimeMode(mode);
  return rate > 0 ? Short(rate) : "mode " + Short(mode);
}

std::string SecondsText(const std::string& name, PropertiesByName* properties) {
  return Short(TakeNumber(name, properties) / static_cast<double>(KTIME_ONE_SECOND)) + " s";
}

}  // namespace

std::vector<FbxPropertyText> UserPropertiesOf(const FbxRecordFile& file, std::size_t object) {
  std::vector<FbxPropertyText> properties;
  for (FlaggedProperty& read : PropertiesOf(file, object)) {
    const bool is_users = read.flags.find('U') != std::string_view::npos;
    if (is_users) properties.push_back(std::move(read.property));
  }
  return properties;
}

std::vector<FbxPropertyText> SettingsOf(const FbxContents& contents) {
  const FbxRecordFile& file = contents.records;
  std::size_t settings = file.child(FbxRecordFile::kNone, "GlobalSettings");
  const std::size_t objects = file.child(FbxRecordFile::kNone, "Objects");
  if (settings == FbxRecordFile::kNone && objects != FbxRecordFile::kNone) {
    settings = file.child(objects, "GlobalSettings");
  }
  if (settings == FbxRecordFile::kNone) return {};
  PropertiesByName rest;
  for (FlaggedProperty& read : PropertiesOf(file, settings)) {
    std::string name = read.property.name;
    rest.try_emplace(std::move(name), std::move(read.property));
  }
  std::vector<FbxPropertyText> texts;
  texts.push_back({"axes",
                   "up " + AxisText("UpAxis", &rest) + ", front " + AxisText("FrontAxis", &rest) +
                       ", side " + AxisText("CoordAxis", &rest),
                   {}});
  texts.push_back({"unit", Short(TakeNumber("UnitScaleFactor", &rest)) + " cm", {}});
  texts.push_back({"frame rate", RateText(&rest), {}});
  const std::string start = SecondsText("TimeSpanStart", &rest);
  texts.push_back({"time span", start + " to " + SecondsText("TimeSpanStop", &rest), {}});
  for (auto& [name, property] : rest) texts.push_back(std::move(property));
  return texts;
}
