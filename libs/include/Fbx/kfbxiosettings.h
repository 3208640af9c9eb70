// KFbxIOSettings: what an export is to hold, by the option paths that callers know, such as
// "Export|AdvOptGrp|Fbx|EMBEDDED".
#pragma once

#include <map>
#include <string>
#include <string_view>

// The options that the writers ask for. Everything is written unless it is switched off, except
// that pictures are embedded only when asked for.
inline constexpr const char* EXP_FBX_MATERIAL = "Export|AdvOptGrp|Fbx|Material";
inline constexpr const char* EXP_FBX_TEXTURE = "Export|AdvOptGrp|Fbx|Texture";
inline constexpr const char* EXP_FBX_SHAPE = "Export|AdvOptGrp|Fbx|Shape";
inline constexpr const char* EXP_FBX_ANIMATION = "Export|AdvOptGrp|Fbx|Animation";
inline constexpr const char* EXP_FBX_EMBEDDED = "Export|AdvOptGrp|Fbx|EMBEDDED";

class KFbxIOSettings {
 public:
  void SetBoolProp(const char* path, bool value) { _bools[path] = value; }
  // `default_value` where the option was never set.
  [[nodiscard]] bool GetBoolProp(std::string_view path, bool default_value) const {
    const auto found = _bools.find(path);
    return found == _bools.end() ? default_value : found->second;
  }

 private:
  std::map<std::string, bool, std::less<>> _bools;
};
