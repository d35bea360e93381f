// DSP_TR_3DFlip, DSP_TR_3DFlipTwo: the picture turns over like a card.
#include "transitions3d/transitions3d.h"

using namespace vek;

constinit decltype(TR_3DFlip::kParams) TR_3DFlip::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_3DFlipTwo::kParams) TR_3DFlipTwo::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;FullFlip;Handspring;HeadTail">("IDS_Tr_Param_Type_Desc"));
