// DSP_CO_ColorAdj: brightness, contrast and exposure through exact tone curves, then recovery,
// fill light, vibrance, hue, saturation and sharpness, with a before/after compare view.
#include "color/color_effects.h"

using namespace vek;

namespace {
constexpr Slot Place(int32_t group, Animation animation = Animation::kDefault) {
  return {group, kScopeGlobal, animation};
}
}  // namespace

// P6 picks the compare view: 0 off, 1 original and result side by side, 2 one above the other.
constinit decltype(CO_ColorAdj::kParams) CO_ColorAdj::kParams = Rows(
    IntRow<-100, 100, 0>("P1", "IDS_Co_Param_Brightness_Name", "IDS_Co_Param_Brightness_Desc", Place(0)),
    IntRow<-100, 100, 0>("P2", "IDS_Co_Param_Contrast_Name", "IDS_Co_Param_Contrast_Desc", Place(1)),
    FloatRow<-1.0f, 1.0f, 0.0f>("P3", "IDS_Co_Param_Hue_Name", "IDS_Co_Param_Hue_Desc", Place(2)),
    FloatRow<0.0f, 2.0f, 1.0f>("P4", "IDS_Co_Param_Saturation_Name", "IDS_Co_Param_Saturation_Desc", Place(3)),
    FloatRow<0.0f, 2.0f, 0.0f>("P5", "IDS_Co_Param_Sharpness_Name", "IDS_Co_Param_Sharpness_Desc", Place(4)),
    IntRow<0, 2, 0>("P6", "IDS_Co_Param_CompareImage_Name", nullptr, Place(5, Animation::kFixed)),
    FloatRow<-4.0f, 4.0f, 0.0f>("P7", "IDS_Co_Param_Exposure_Name", "IDS_Co_Param_Exposure_Desc", Place(6)),
    IntRow<0, 100, 0>("P8", "IDS_Co_Param_Recovery_Name", "IDS_Co_Param_Recovery_Desc", Place(7)),
    IntRow<0, 100, 0>("P9", "IDS_Co_Param_FillLight_Name", "IDS_Co_Param_FillLight_Desc", Place(8)),
    IntRow<-100, 100, 0>("P10", "IDS_Co_Param_Vibrance_Name", "IDS_Co_Param_Vibrance_Desc", Place(9)));
