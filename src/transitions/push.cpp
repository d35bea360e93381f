// DSP_TR_Slide, DSP_TR_Shove, DSP_TR_Swap, DSP_TR_Door: whole pictures move instead of a boundary.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Slide::kParams) TR_Slide::kParams = Rows(
    ProgressRow<0.7f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Shove::kParams) TR_Shove::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Swap::kParams) TR_Swap::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Door::kParams) TR_Door::kParams = Rows(
    ProgressRow<0.5f>());
