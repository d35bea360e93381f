// DSP_VI_Swing, DSP_VI_Ripple, DSP_VI_ZoomIn, DSP_VI_ZoomOut, DSP_VI_RotateCanvas, DSP_VI_TvWall: the
// picture moved, warped, scaled or repeated.
#include "video/video_effects.h"

using namespace vek;

constinit decltype(VI_Swing::kParams) VI_Swing::kParams = RowsWithSharedArea(
    FloatRow<-30.0f, 30.0f, 10.0f>("P1", "IDS_Vi_Param_Angle_Name", "IDS_Vi_Param_Angle_Desc", {0}),
    ChoiceRow<"IDS_Vi_Param_Pivot_Name;Top;Center;Bottom">("P2", "IDS_Vi_Param_Pivot_Desc", {1}),
    ColourRow<0x000000>("P3", "IDS_Vi_Param_bColor_Name", "IDS_Vi_Param_bColor_Desc", ColourEditor::kPlain, {2}));

constinit decltype(VI_Ripple::kParams) VI_Ripple::kParams = RowsWithSharedArea(
    FloatRow<0.0f, 1.0f, 0.3f>("P1", "IDS_Vi_Param_Amplitude_Name", "IDS_Vi_Param_Amplitude_Desc", {0}),
    IntRow<1, 100, 20>("P2", "IDS_Vi_Param_Frequency_Name", "IDS_Vi_Param_Frequency_Desc", {1}),
    PositionRow<PointValue{0, 0}>("P3", "IDS_Vi_Param_Position_Name", "IDS_Vi_Param_Position_Desc", {2}),
    FloatRow<0.0f, 1.0f, 0.0f>("P4", "IDS_Vi_Param_Phase_Name", "IDS_Vi_Param_Phase_Desc", {3}));

constinit decltype(VI_ZoomIn::kParams) VI_ZoomIn::kParams = RowsWithSharedArea(
    FloatRow<1.0f, 8.0f, 2.0f>("P1", "IDS_Vi_Param_Zoom_Name", "IDS_Vi_Param_Zoom_Desc", {0}),
    PositionRow<PointValue{0, 0}>("P2", "IDS_Vi_Param_Position_Name", "IDS_Vi_Param_Position_Desc", {1}));

constinit decltype(VI_ZoomOut::kParams) VI_ZoomOut::kParams = RowsWithSharedArea(
    FloatRow<0.1f, 1.0f, 0.5f>("P1", "IDS_Vi_Param_Zoom_Name", "IDS_Vi_Param_Zoom_Desc", {0}),
    PositionRow<PointValue{0, 0}>("P2", "IDS_Vi_Param_Position_Name", "IDS_Vi_Param_Position_Desc", {1}),
    ColourRow<0x000000>("P3", "IDS_Vi_Param_bColor_Name", "IDS_Vi_Param_bColor_Desc", ColourEditor::kPlain, {2}));

constinit decltype(VI_RotateCanvas::kParams) VI_RotateCanvas::kParams = RowsWithSharedArea(
    FloatRow<-360.0f, 360.0f, 45.0f>("P1", "IDS_Vi_Param_Angle_Name", "IDS_Vi_Param_Angle_Desc", {0}),
    ColourRow<0x000000>("P2", "IDS_Vi_Param_bColor_Name", "IDS_Vi_Param_bColor_Desc", ColourEditor::kPlain, {1}));

// The wall's layout changes the tiles themselves, so it is not key-framed.
constinit decltype(VI_TvWall::kParams) VI_TvWall::kParams = RowsWithSharedArea(
    IntRow<1, 16, 3>("P1", "IDS_Vi_Param_Columns_Name", "IDS_Vi_Param_Columns_Desc", {0, kScopeEffect, Animation::kFixed}),
    IntRow<1, 16, 3>("P2", "IDS_Vi_Param_Rows_Name", "IDS_Vi_Param_Rows_Desc", {0, kScopeEffect, Animation::kFixed}));
