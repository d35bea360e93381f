// DSP_VI_Mosaic: an area of the frame replaced by flat blocks of the average colour beneath them.
#include "video/video_effects.h"

using namespace vek;

// Width and height are blocks across a 320 x 240 reference picture and share one editor group.
constinit decltype(VI_Mosaic::kParams) VI_Mosaic::kParams = Rows(
    IntRow<0, 32, 5>("P1", "IDS_Vi_Param_Width_Name", "IDS_Vi_Param_Width_Desc", {0}),
    IntRow<0, 24, 4>("P2", "IDS_Vi_Param_Height_Name", "IDS_Vi_Param_Height_Desc", {0}),
    OwnMaskRow(0, "P3"),
    OwnMaskRow(1, "P4"),
    kSalientRow);
