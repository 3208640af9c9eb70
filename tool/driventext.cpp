#include "driventext.h"

#include "messages.h"
#include "style.h"

namespace {

using Driven = BaUnlockedMapping::Driven;

constexpr const char* kTransformTexts[] = {"x translation", "y translation", "z translation",
                                           "x rotation",    "y rotation",    "z rotation"};

std::string TransformText(const Driven& driven, const BodyNames& names) {
  const auto name = names.find(driven.id);
  std::string text = name == names.end() ? "body " + std::to_string(driven.id) : name->second;
  text += std::string(" ") + kTransformTexts[driven.transform_id - 1];
  if (driven.factor != 1) text += " * " + Short(driven.factor);
  return text;
}

}  // namespace

std::string DrivenText(const Driven& driven, const BodyNames& names) {
  switch (driven.kind) {
    case Driven::Kind::Transform:
      return TransformText(driven, names);
    case Driven::Kind::Slider:
      return "slider " + Text(driven.slider_group) + " " + Text(driven.slider);
    default:
      return "texture of material " + std::to_string(driven.id);
  }
}

std::string DrivenText(const std::vector<Driven>& driven, const BodyNames& names) {
  std::string text;
  for (const Driven& thing : driven) text += (text.empty() ? "" : ", ") + DrivenText(thing, names);
  return text.empty() ? "nothing" : text;
}
