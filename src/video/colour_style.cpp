// DSP_VI_ColorBalance, DSP_VI_ColorFocus, DSP_VI_FilterColor, DSP_VI_ReplaceColor, DSP_VI_Threshold,
// DSP_VI_XRay: colour and tone looks.
#include "video/video_effects.h"

using namespace vek;

// A colour picked from the picture is a key, not a look, so it is not key-framed.
constexpr Slot kPickedSlot(int32_t group) { return {group, kScopeEffect, Animation::kFixed}; }

constinit decltype(VI_ColorBalance::kParams) VI_ColorBalance::kParams = Rows(
    IntRow<-100, 100, 0>("P1", "IDS_Vi_Param_Red_Name", "IDS_Vi_Param_Red_Desc", {0}),
    IntRow<-100, 100, 0>("P2", "IDS_Vi_Param_Green_Name", "IDS_Vi_Param_Green_Desc", {1}),
    IntRow<-100, 100, 0>("P3", "IDS_Vi_Param_Blue_Name", "IDS_Vi_Param_Blue_Desc", {2}),
    SwitchRow<1>("P4", "IDS_Vi_Param_PreserveLuminosity_Name", "IDS_Vi_Param_PreserveLuminosity_Desc", {3}),
    OwnMaskRow(0, "P5"), OwnMaskRow(1, "P6"), OwnMaskRow(2, "P7"), OwnMaskRow(3, "P8"),
    kSalientRow);

constinit decltype(VI_ColorFocus::kParams) VI_ColorFocus::kParams = RowsWithSharedArea(
    ColourRow<0xFF0000>("P1", "IDS_Vi_Param_FocusColor_Name", "IDS_Vi_Param_FocusColor_Desc", ColourEditor::kPicked,
                        kPickedSlot(0)),
    ByteRow<0, 127, 40>("P2", "IDS_Vi_Param_Tolerance_Name", "IDS_Vi_Param_Tolerance_Desc", {1}),
    ByteRow<0, 127, 16>("P3", "IDS_Vi_Param_Softness_Name", "IDS_Vi_Param_Softness_Desc", {2}),
    FloatRow<0.0f, 1.0f, 0.0f>("P4", "IDS_Vi_Param_Saturation_Name", "IDS_Vi_Param_Saturation_Desc", {3}));

constinit decltype(VI_FilterColor::kParams) VI_FilterColor::kParams = RowsWithSharedArea(
    ColourRow<0xFF9933>("P1", "IDS_Vi_Param_Color_Name", "IDS_Vi_Param_Color_Desc", ColourEditor::kPlain, {0}),
    ByteRow<0, 255, 128>("P2", "IDS_Vi_Param_Density_Name", "IDS_Vi_Param_Density_Desc", {1}));

constinit decltype(VI_ReplaceColor::kParams) VI_ReplaceColor::kParams = RowsWithSharedArea(
    ColourRow<0xFF0000>("P1", "IDS_Vi_Param_SourceColor_Name", "IDS_Vi_Param_SourceColor_Desc",
                        ColourEditor::kPicked, kPickedSlot(0)),
    ColourRow<0x0000FF>("P2", "IDS_Vi_Param_TargetColor_Name", "IDS_Vi_Param_TargetColor_Desc",
                        ColourEditor::kPlain, {1}),
    ByteRow<0, 127, 32>("P3", "IDS_Vi_Param_Tolerance_Name", "IDS_Vi_Param_Tolerance_Desc", {2}));

constinit decltype(VI_Threshold::kParams) VI_Threshold::kParams = RowsWithSharedArea(
    ByteRow<0, 255, 128>("P1", "IDS_Vi_Param_Threshold_Name", "IDS_Vi_Param_Threshold_Desc", {0}),
    SwitchRow<0>("P2", "IDS_Vi_Param_Inverse_Name", "IDS_Vi_Param_Inverse_Desc", {1}));

constinit decltype(VI_XRay::kParams) VI_XRay::kParams = Rows(
    ByteRow<0, 255, 255>("P1", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {0}),
    OwnMaskRow(0, "P2"), OwnMaskRow(1, "P3"), OwnMaskRow(2, "P4"), OwnMaskRow(3, "P5"),
    kSalientRow);
