// DSP_VI_Noise, DSP_VI_Focus, DSP_VI_Grid, DSP_VI_Spotlight: film grain, lens and lighting looks.
#include "video/video_effects.h"

using namespace vek;

constinit decltype(VI_Noise::kParams) VI_Noise::kParams = RowsWithSharedArea(
    ByteRow<0, 255, 64>("P1", "IDS_Vi_Param_Amount_Name", "IDS_Vi_Param_Amount_Desc", {0}),
    SwitchRow<0>("P2", "IDS_Vi_Param_Monochrome_Name", "IDS_Vi_Param_Monochrome_Desc", {1}),
    ByteRow<0, 32, 4>("P3", "IDS_Vi_Param_Scratches_Name", "IDS_Vi_Param_Scratches_Desc", {2}));

constinit decltype(VI_Focus::kParams) VI_Focus::kParams = RowsWithSharedArea(
    FloatRow<0.0f, 1.0f, 0.4f>("P1", "IDS_Vi_Param_Radius_Name", "IDS_Vi_Param_Radius_Desc", {0}),
    FloatRow<0.0f, 1.0f, 0.3f>("P2", "IDS_Vi_Param_Softness_Name", "IDS_Vi_Param_Softness_Desc", {1}),
    ByteRow<0, 32, 8>("P3", "IDS_Vi_Param_Blur_Name", "IDS_Vi_Param_Blur_Desc", {2}),
    ColourRow<0x000000>("P4", "IDS_Vi_Param_bColor_Name", "IDS_Vi_Param_bColor_Desc", ColourEditor::kPlain, {3}),
    ByteRow<0, 255, 128>("P5", "IDS_Vi_Param_Darken_Name", "IDS_Vi_Param_Darken_Desc", {4}),
    SwitchRow<0>("P6", "IDS_Vi_Param_Sepia_Name", "IDS_Vi_Param_Sepia_Desc", {5}));

constinit decltype(VI_Grid::kParams) VI_Grid::kParams = RowsWithSharedArea(
    IntRow<1, 240, 80>("P1", "IDS_Vi_Param_Width_Name", "IDS_Vi_Param_Width_Desc", {0}),
    IntRow<1, 240, 80>("P2", "IDS_Vi_Param_Height_Name", "IDS_Vi_Param_Height_Desc", {0}),
    ByteRow<1, 16, 1>("P3", "IDS_Vi_Param_LineWidth_Name", "IDS_Vi_Param_LineWidth_Desc", {1}),
    ColourRow<0xFFFFFF>("P4", "IDS_Vi_Param_Color_Name", "IDS_Vi_Param_Color_Desc", ColourEditor::kPlain, {2}));

constinit decltype(VI_Spotlight::kParams) VI_Spotlight::kParams = RowsWithSharedArea(
    PositionRow<PointValue{0, 0}>("P1", "IDS_Vi_Param_Position_Name", "IDS_Vi_Param_Position_Desc", {0}),
    FloatRow<0.0f, 1.0f, 0.3f>("P2", "IDS_Vi_Param_Radius_Name", "IDS_Vi_Param_Radius_Desc", {1}),
    FloatRow<0.0f, 1.0f, 0.5f>("P3", "IDS_Vi_Param_Softness_Name", "IDS_Vi_Param_Softness_Desc", {2}),
    ColourRow<0xFFF4D6>("P4", "IDS_Vi_Param_Color_Name", "IDS_Vi_Param_Color_Desc", ColourEditor::kPlain, {3}),
    ByteRow<0, 255, 255>("P5", "IDS_Vi_Param_Intensity_Name", "IDS_Vi_Param_Intensity_Desc", {4}),
    ByteRow<0, 255, 64>("P6", "IDS_Vi_Param_Ambient_Name", "IDS_Vi_Param_Ambient_Desc", {5}),
    ChoiceRow<"IDS_Vi_Param_Shape_Name;Circle;Ellipse">("P7", "IDS_Vi_Param_Shape_Desc", {6}));
