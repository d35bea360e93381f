// DSP_TR_Wipe, DSP_TR_WipeSoft, DSP_TR_DirtyWipe, DSP_TR_Box, DSP_TR_WipeClock, DSP_TR_WipeCenter,
// DSP_TR_Cross: B uncovered over A along a moving boundary.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Wipe::kParams) TR_Wipe::kParams = Rows(
    ProgressRow<0.7f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_WipeSoft::kParams) TR_WipeSoft::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_DirtyWipe::kParams) TR_DirtyWipe::kParams = Rows(
    ProgressRow<0.8f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Box::kParams) TR_Box::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;In;Out">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_WipeClock::kParams) TR_WipeClock::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;CCW;CW">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_WipeCenter::kParams) TR_WipeCenter::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_Cross::kParams) TR_Cross::kParams = Rows(
    ProgressRow<0.3f>());
