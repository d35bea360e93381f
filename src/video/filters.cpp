// DSP_VI_Blur, DSP_VI_Edge, DSP_VI_Emboss: neighbourhood filters.
#include "video/video_effects.h"

using namespace vek;

constinit decltype(VI_Blur::kParams) VI_Blur::kParams = Rows(
    ByteRow<1, 100, 10>("P1", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {0}),
    OwnMaskRow(0, "P2"), OwnMaskRow(1, "P3"), OwnMaskRow(2, "P4"), OwnMaskRow(3, "P5"),
    kSalientRow);

constinit decltype(VI_Edge::kParams) VI_Edge::kParams = RowsWithSharedArea(
    ByteRow<0, 127, 64>("P1", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {0}),
    ByteRow<0, 255, 32>("P2", "IDS_Vi_Param_Threshold_Name", "IDS_Vi_Param_Threshold_Desc", {1}),
    SwitchRow<0>("P3", "IDS_Vi_Param_Inverse_Name", "IDS_Vi_Param_Inverse_Desc", {2}));

constinit decltype(VI_Emboss::kParams) VI_Emboss::kParams = Rows(
    ByteRow<0, 127, 64>("P1", "IDS_Vi_Param_Degree_Name", "IDS_Vi_Param_Degree_Desc", {0}),
    OwnMaskRow(0, "P2"), OwnMaskRow(1, "P3"), OwnMaskRow(2, "P4"), OwnMaskRow(3, "P5"),
    kSalientRow);
