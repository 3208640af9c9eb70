// Arrays of plain floats, for vectors and colours of any length.
#pragma once

#include "array.h"

using BtFloatArray = BtDArray<float>;
