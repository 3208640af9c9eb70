// Hash tables by name. Only lookups use them: nothing is ever walked in their order.
#pragma once

#include "btflatmap.h"
#include "btstr.h"

template <class Value>
using BaNameMap = BtFlatMap<BtStr, Value>;
