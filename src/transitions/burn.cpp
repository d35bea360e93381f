// DSP_TR_Burn: A burns away along a seeded fractal fire front onto B.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Burn::kParams) TR_Burn::kParams = Rows(
    ProgressRow<0.5f>());
