#include "Ba/bamaterialattr.h"

#include <algorithm>
#include <utility>

namespace {

constexpr bool MatAttrsInOrder() {
  for (std::size_t i = 0; i < kBaMatAttrCount; ++i) {
    if (static_cast<std::size_t>(kBaMatAttrs[i].kind) != i) return false;
  }
  return true;
}
static_assert(MatAttrsInOrder());

template <Ba_MatAttr_t kKind>
std::unique_ptr<Ba_MatAttr> CreateMatAttr() {
  return std::make_unique<Ba_MatAttrOfKind<kKind>>();
}

// The function that makes an attribute, for each kind.
template <std::size_t... kKinds>
constexpr auto MatAttrCreators(std::index_sequence<kKinds...> /*kinds*/) {
  return std::array{&CreateMatAttr<static_cast<Ba_MatAttr_t>(kKinds)>...};
}
constexpr auto kMatAttrCreators = MatAttrCreators(std::make_index_sequence<kBaMatAttrCount>());

}  // namespace

void Ba_MatAttr::set(const Ba_MatAttr& other) {
  BtAssert(kind() == other.kind(), "kind()==other.kind()");
  std::ranges::copy(other.values(), values().begin());
}

std::unique_ptr<Ba_MatAttr> Ba_MatAttr::create(Ba_MatAttr_t kind) {
  return kMatAttrCreators[static_cast<std::size_t>(kind)]();
}
