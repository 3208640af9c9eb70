// Hash tables by name. Only lookups use them: nothing is ever walked in their order.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "btflatmap.h"
#include "btstr.h"

struct BaNameHash {
  std::size_t operator()(const BtStr& name) const {
    return std::hash<std::string_view>()(name.view());
  }
};

template <class Value>
using BaNameMap = BtFlatMap<BtStr, Value, BaNameHash>;
