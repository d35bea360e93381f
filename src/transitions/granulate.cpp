// DSP_TR_BlizzardS, DSP_TR_GranulateS, DSP_TR_BrokenGlass: A breaks into grains or shards.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_BlizzardS::kParams) TR_BlizzardS::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_GranulateS::kParams) TR_GranulateS::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_BrokenGlass::kParams) TR_BrokenGlass::kParams = Rows(
    ProgressRow<0.2f>());
