// Arrays of plain numbers: floats for vectors and colours of any length, ints for ids and orders.
#pragma once

#include "Bt/array.h"

using BtFloatArray = BtDArray<float>;
using BtIntArray = BtDArray<int>;
