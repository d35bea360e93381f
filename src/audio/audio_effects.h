// The audio volume effects: up to 16 ramped inputs mixed into one block through a peak limiter.
#pragma once

#include "module/effect.h"

namespace vek {
// The two volume effects share every callback (only their parameter rows differ). Each
// instantiation is a distinct function, so no two catalogue rows share a callback.
template <class Effect> struct VolumeCallbacks {
  static VekStatus Init(VekEffectInstance* instance) noexcept;
  static VekStatus Destroy(VekEffectInstance* instance) noexcept;
  static VekStatus SetInput(int32_t index, VekInputSample* sample) noexcept;
  static VekStatus Process(VekEffectInstance* instance) noexcept;
  static VekStatus Prepare(VekEffectInstance* instance) noexcept;
  static VekStatus ReleaseResources(VekEffectInstance* instance) noexcept;
};
}  // namespace vek

// volume_adj.cpp
struct AU_VolumeAdj : vek::VolumeCallbacks<AU_VolumeAdj> {
  VEK_EFFECT_MEMBERS(1281200, 1)
};
struct AU_VolumeAdj_Exp : vek::VolumeCallbacks<AU_VolumeAdj_Exp> {
  VEK_EFFECT_MEMBERS(1281200, 1)
};

namespace vek {
// Between two unequal key frames the gain follows half the square of the slider value; between
// equal keys it keeps the slider value itself.
VekStatus InterpolateSquaredVolume(const VekParamDescriptor* row, double t, const void* left, const void* right,
                                   void* out) noexcept;
}  // namespace vek
