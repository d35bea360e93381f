// DSP_TR_Glare, DSP_TR_Interfere, DSP_TR_Laser, DSP_TR_Mirror, DSP_TR_FilmScroll, DSP_TR_BlurLine: light,
// interference and film looks.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Glare::kParams) TR_Glare::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_Interfere::kParams) TR_Interfere::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_Laser::kParams) TR_Laser::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_Mirror::kParams) TR_Mirror::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_FilmScroll::kParams) TR_FilmScroll::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_BlurLine::kParams) TR_BlurLine::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));
