// DSP_TR_Threshold, DSP_TR_XRay, DSP_TR_ColorSplit: transitions driven by the brightness of the pictures.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Threshold::kParams) TR_Threshold::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;One;Two">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_XRay::kParams) TR_XRay::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_ColorSplit::kParams) TR_ColorSplit::kParams = Rows(
    ProgressRow<0.5f>());
