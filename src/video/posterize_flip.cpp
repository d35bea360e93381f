// DSP_VI_Posterize, DSP_VI_FlipCanvas: fewer tone levels per channel, and the picture mirrored.
#include "video/video_effects.h"

using namespace vek;

constinit decltype(VI_Posterize::kParams) VI_Posterize::kParams = RowsWithSharedArea(
    ByteRow<0, 63, 61>("P1", "IDS_Vi_Param_Levels_Name", "IDS_Vi_Param_Levels_Desc", {0}));

constinit decltype(VI_FlipCanvas::kParams) VI_FlipCanvas::kParams = RowsWithSharedArea(
    ChoiceRow<"IDS_Vi_Param_EffectType_Name;No;Hor;Ver;HnV", 1>("P1", "IDS_Vi_Param_EffectType_Desc", {0}));
