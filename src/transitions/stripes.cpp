// DSP_TR_Shutter, DSP_TR_Splices, DSP_TR_Slices: B comes in through slats and strips.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Shutter::kParams) TR_Shutter::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Splices::kParams) TR_Splices::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Horizontal;Vertical">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Slices::kParams) TR_Slices::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Horizontal;Vertical">("IDS_Tr_Param_Type_Desc"));
