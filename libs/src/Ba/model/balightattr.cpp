#include "Ba/balightattr.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "balegacytext.h"
#include "btclassicios.h"

namespace {

using LightAttrPtr = std::unique_ptr<Ba_LightAttr>;

template <class Attr>
LightAttrPtr CreateLightAttr() {
  return std::make_unique<Attr>();
}

// In the order of Ba_LightAttr_t.
constexpr LightAttrPtr (*kLightAttrCreators[])() = {
    CreateLightAttr<BaLightAmbientAttr>,       CreateLightAttr<BaLightDiffuseAttr>,
    CreateLightAttr<BaLightSpecularAttr>,      CreateLightAttr<BaLightPosAttr>,
    CreateLightAttr<BaLightSpotDirectionAttr>, CreateLightAttr<BaLightSpotLightAttr>,
    CreateLightAttr<BaLightLocalViewerAttr>,   CreateLightAttr<BaLightAttenuationAttr>,
};

}  // namespace

LightAttrPtr Ba_LightAttr::create(Ba_LightAttr_t kind) {
  return kLightAttrCreators[static_cast<std::size_t>(kind)]();
}

BaLightAttrs::BaLightAttrs(const BaLightAttrs& other) {
  for (const LightAttrPtr& attr : other._attrs) {
    std::ranges::copy(std::as_const(*attr).values(), add(attr->kind())->values().begin());
  }
}

const Ba_LightAttr* BaLightAttrs::find(Ba_LightAttr_t kind) const {
  for (const LightAttrPtr& attr : _attrs) {
    if (attr->kind() == kind) return attr.get();
  }
  return nullptr;
}

Ba_LightAttr* BaLightAttrs::add(Ba_LightAttr_t kind) {
  for (const LightAttrPtr& attr : _attrs) {
    if (attr->kind() == kind) return attr.get();
  }
  _attrs.append(Ba_LightAttr::create(kind));
  return _attrs.last().get();
}

bool BaLightAttrs::scanFrom(const Code& code, BtScanner& in) {
  const std::span<float> values = add(code.kind)->values();
  return in.readFloats(values.data(), static_cast<int>(values.size())) ||
         BtFail("%s", code.failure);
}

void BaLightAttrs::printOn(std::span<const Code> codes, std::ostream& os) const {
  const BtClassicIos plain(os);
  for (const LightAttrPtr& attr : _attrs) {
    const auto code = std::ranges::find(codes, attr->kind(), &Code::kind);
    if (code == codes.end()) continue;
    Ba_PutInt(os, code->code);
    Ba_PutFloats(os, std::as_const(*attr).values());
    os << '\n';
  }
}
