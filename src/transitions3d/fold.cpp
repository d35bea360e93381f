// DSP_TR_3DFold: A folds up like a sheet of paper.
#include "transitions3d/transitions3d.h"

using namespace vek;

constinit decltype(TR_3DFold::kParams) TR_3DFold::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Horizontal;Vertical">("IDS_Tr_Param_Type_Desc"));
