#include "Ba/bamaterialattr.h"

#include <algorithm>

void Ba_MatAttr::set(const Ba_MatAttr& other) {
  BtAssert(kind() == other.kind(), "kind()==other.kind()");
  std::ranges::copy(other.values(), values().begin());
}
