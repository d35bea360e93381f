// DSP_TR_3DTyphoon: A is torn away in a whirl of strips.
#include "transitions3d/transitions3d.h"

using namespace vek;

constinit decltype(TR_3DTyphoon::kParams) TR_3DTyphoon::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;CCW;CW">("IDS_Tr_Param_Direction_Desc"));
