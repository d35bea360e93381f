// DSP_TR_Ripple, DSP_TR_Wave, DSP_TR_WaveWipe, DSP_TR_WormHole, DSP_TR_Drain, DSP_TR_RainDropS: the
// pictures displaced by waves and whirls.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Ripple::kParams) TR_Ripple::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;I;II;III">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Wave::kParams) TR_Wave::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_WaveWipe::kParams) TR_WaveWipe::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_WormHole::kParams) TR_WormHole::kParams = Rows(
    ProgressRow<0.2f>());

constinit decltype(TR_Drain::kParams) TR_Drain::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_RainDropS::kParams) TR_RainDropS::kParams = Rows(
    ProgressRow<0.5f>());
