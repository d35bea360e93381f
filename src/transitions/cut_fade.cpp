// DSP_TR_NoEffect, DSP_TR_Fade, DSP_TR_Blending: the hard cut, the cross-fade and B laid over A
// through its own alpha.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_NoEffect::kParams) TR_NoEffect::kParams = Rows(ProgressRow<0.5f>());
constinit decltype(TR_Fade::kParams) TR_Fade::kParams = Rows(ProgressRow<0.5f>());
constinit decltype(TR_Blending::kParams) TR_Blending::kParams = Rows(ProgressRow<0.5f>());
