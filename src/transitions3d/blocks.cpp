// DSP_TR_3DMagicBlocksS, DSP_TR_3DChainReact, DSP_TR_3DDominotes, DSP_TR_3DFragments, DSP_TR_3DSeism: A
// breaks into blocks that turn, fall or shake away.
#include "transitions3d/transitions3d.h"

using namespace vek;

constinit decltype(TR_3DMagicBlocksS::kParams) TR_3DMagicBlocksS::kParams = Rows(
    ProgressRow<0.5f>());

constinit decltype(TR_3DChainReact::kParams) TR_3DChainReact::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_3DDominotes::kParams) TR_3DDominotes::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_3DFragments::kParams) TR_3DFragments::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Size_Name;S;M;L;XL">("IDS_Tr_Param_Size_Desc"));

constinit decltype(TR_3DSeism::kParams) TR_3DSeism::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Fine;Mid;Coarse">("IDS_Tr_Param_Type_Desc"));
