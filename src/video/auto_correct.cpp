// DSP_VI_AutoLevels, DSP_VI_AutoContrast, DSP_VI_Equalize, DSP_VI_ContrastMask: corrections computed
// from the frame's own statistics.
#include "video/video_effects.h"

using namespace vek;

// The clip fractions steer an analysis of the whole frame, so they are not key-framed.
constexpr Slot kAnalysisSlot(int32_t group) { return {group, kScopeEffect, Animation::kFixed}; }

// The switches keep the minimum and maximum each table stores (0 and 0 in AutoLevels).
constinit decltype(VI_AutoLevels::kParams) VI_AutoLevels::kParams = Rows(
    SwitchRow<1, 0, 0>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    FloatRow<0.0f, 0.01f, 0.002f>("P2", "IDS_Vi_Param_Black_Name", "IDS_Vi_Param_Black_Desc", kAnalysisSlot(1)),
    FloatRow<0.0f, 0.01f, 0.002f>("P3", "IDS_Vi_Param_White_Name", "IDS_Vi_Param_White_Desc", kAnalysisSlot(2)));

constinit decltype(VI_AutoContrast::kParams) VI_AutoContrast::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    FloatRow<0.0f, 0.01f, 0.002f>("P2", "IDS_Vi_Param_Black_Name", "IDS_Vi_Param_Black_Desc", kAnalysisSlot(1)),
    FloatRow<0.0f, 0.01f, 0.002f>("P3", "IDS_Vi_Param_White_Name", "IDS_Vi_Param_White_Desc", kAnalysisSlot(2)));

constinit decltype(VI_Equalize::kParams) VI_Equalize::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}));

constinit decltype(VI_ContrastMask::kParams) VI_ContrastMask::kParams = Rows(
    SwitchRow<1, 1, 1>("P1", "IDS_Vi_Param_Enable_Name", "IDS_Vi_Param_Enable_Desc", {0}),
    IntRow<0, 255, 128>("P2", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {1}));
