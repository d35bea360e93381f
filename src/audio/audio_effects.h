// The audio volume effects: up to 16 ramped inputs mixed into one block through a peak limiter.
#pragma once

#include "module/effect.h"

// volume_adj.cpp
DECLARE_EFFECT(AU_VolumeAdj, 1281200, 1)
DECLARE_EFFECT(AU_VolumeAdj_Exp, 1281200, 1)

namespace vek {
// Between two unequal key frames the gain follows half the square of the slider value; between
// equal keys it keeps the slider value itself.
VekStatus InterpolateSquaredVolume(const VekParamDescriptor* row, double t, const void* left, const void* right,
                                   void* out) noexcept;
}  // namespace vek
