// DSP_TR_DissolveType, DSP_TR_Collapse: A replaced by B block by block, dissolving or falling.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_DissolveType::kParams) TR_DissolveType::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Fine;Mid;Coarse">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Collapse::kParams) TR_Collapse::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Size_Name;S;M;L;XL">("IDS_Tr_Param_Size_Desc"));
