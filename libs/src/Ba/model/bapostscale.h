// What no format holds of a body.
#pragma once

#include "Ba/bamodel.h"

// Records one warning that names the bodies of a model whose post scale factor is not 1, or `only`
// this one.
void Ba_WarnOfPostScale(const BaModel& model, const BaBody* only = nullptr);
