// DSP_TR_PageCurl, DSP_TR_PageRoll, DSP_TR_PageFold, DSP_TR_Center: A turned away like a page.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_PageCurl::kParams) TR_PageCurl::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Curl;Roll">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_PageRoll::kParams) TR_PageRoll::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Up;Down;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_PageFold::kParams) TR_PageFold::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;H1;H2;V1;V2">("IDS_Tr_Param_Type_Desc"));

constinit decltype(TR_Center::kParams) TR_Center::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;In;Out">("IDS_Tr_Param_Type_Desc"));
