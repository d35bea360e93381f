// DSP_VI_Delay, DSP_VI_Skip: effects that keep earlier frames, an echo trail and a stutter.
#include "video/video_effects.h"

using namespace vek;

// The frame counts size the history the effect keeps, so they are not key-framed.
constinit decltype(VI_Delay::kParams) VI_Delay::kParams = RowsWithSharedArea(
    IntRow<1, 20, 6>("P1", "IDS_Vi_Param_Frames_Name", "IDS_Vi_Param_Frames_Desc", {0, kScopeEffect, Animation::kFixed}));

constinit decltype(VI_Skip::kParams) VI_Skip::kParams = RowsWithSharedArea(
    IntRow<1, 30, 2>("P1", "IDS_Vi_Param_Frames_Name", "IDS_Vi_Param_Frames_Desc", {0, kScopeEffect, Animation::kFixed}));
