// Hash tables by name. Only lookups use them: nothing is ever walked in their order.
#pragma once

#include "Bt/btflatmap.h"
#include "Bt/btstr.h"

template <class Value>
using BaNameMap = BtFlatMap<BtStr, Value>;
