#include "Ba/balightattr.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

using LightAttrPtr = std::unique_ptr<Ba_LightAttr>;

constexpr bool LightAttrsInOrder() {
  for (std::size_t i = 0; i < kBaLightAttrCount; ++i) {
    if (static_cast<std::size_t>(kBaLightAttrs[i].kind) != i) return false;
  }
  return true;
}
static_assert(LightAttrsInOrder());

template <Ba_LightAttr_t kKind>
LightAttrPtr CreateLightAttr() {
  return std::make_unique<Ba_LightAttrOfKind<kKind>>();
}

// The function that makes an attribute, for each kind.
template <std::size_t... kKinds>
constexpr auto LightAttrCreators(std::index_sequence<kKinds...> /*kinds*/) {
  return std::array{&CreateLightAttr<static_cast<Ba_LightAttr_t>(kKinds)>...};
}
constexpr auto kLightAttrCreators =
    LightAttrCreators(std::make_index_sequence<kBaLightAttrCount>());

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

bool BaLightAttrs::scanFrom(const Ba_LightAttrInfo& attribute, const char* owner, BtScanner& in) {
  const std::span<float> values = add(attribute.kind)->values();
  if (in.readFloats(values.data(), static_cast<int>(values.size()))) return true;
  return BtFail("Unable to read %s %s attribute.", owner, attribute.name);
}

void BaLightAttrs::printOn(int Ba_LightAttrInfo::*code, std::ostream& os) const {
  const BtClassicIos plain(os);
  for (const LightAttrPtr& attr : _attrs) {
    const int number = Ba_InfoOf(attr->kind()).*code;
    if (number == 0) continue;
    Ba_PutInt(os, number);
    Ba_PutFloats(os, std::as_const(*attr).values());
    os << '\n';
  }
}
