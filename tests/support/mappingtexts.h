// Texts that the mapping tests are made of.
#pragma once

#include <string>

// The record of a body whose six transforms are driven by six variables from `first_var` on.
inline std::string BodyRecord(int body_id, int first_var) {
  std::string text = std::to_string(body_id) + "\n1 2 3 4 5 6\n";
  for (int i = 0; i < 6; ++i) text += std::to_string(first_var + i) + "\n";
  return text;
}

// A mapping file: header, counts, what follows them.
inline std::string MappingText(int num_vars, int num_bodies, const std::string& rest) {
  return "Zov Graphic Mapping File\nv1.0\n" + std::to_string(num_vars) + "\n" +
         std::to_string(num_bodies) + "\n" + rest;
}

// A mapping of one body, id 1, with the variables 1 to 6.
inline std::string OneBody(const std::string& sections) {
  return MappingText(6, 1, BodyRecord(1, 1) + sections);
}

// The same with one section: texture variables, an effect, its sliders, an include.
inline std::string TextureMaps(const std::string& pairs) {
  return OneBody("MATERIAL_TEXTURE_INDEX_MAPS {\n" + pairs + "\n}\n");
}
inline std::string EffectMap(const std::string& block) {
  return OneBody("BLEND_EFFECT_MAP {\n" + block + "\n}\n");
}
inline std::string Sliders(const std::string& pairs) {
  return EffectMap("SLIDER_GROUP: g\nSLIDERS {\n" + pairs + "\n}");
}
inline std::string IncludeBlock(const std::string& block) {
  return OneBody("INCLUDE {\n" + block + "\n}\n");
}
