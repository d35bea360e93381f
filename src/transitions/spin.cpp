// DSP_TR_Swinging, DSP_TR_Swing, DSP_TR_SpinHorizontal, DSP_TR_SlideSpin, DSP_TR_Twist, DSP_TR_PinWheel,
// DSP_TR_FullTwistS: the pictures turn about an axis or a point.
#include "transitions/transitions.h"

using namespace vek;

constinit decltype(TR_Swinging::kParams) TR_Swinging::kParams = Rows(
    ProgressRow<0.3f>());

constinit decltype(TR_Swing::kParams) TR_Swing::kParams = Rows(
    ProgressRow<0.3f>(kScopeGlobal),
    TransitionChoiceRow<"IDS_Tr_Param_Type_Name;Default;Curved;CurvedSoft">("IDS_Tr_Param_Type_Desc", kScopeGlobal));

constinit decltype(TR_SpinHorizontal::kParams) TR_SpinHorizontal::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Left;Right">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_SlideSpin::kParams) TR_SlideSpin::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;Right;Left">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_Twist::kParams) TR_Twist::kParams = Rows(
    ProgressRow<0.5f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;CCW;CW;H">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_PinWheel::kParams) TR_PinWheel::kParams = Rows(
    ProgressRow<0.3f>(),
    TransitionChoiceRow<"IDS_Tr_Param_Direction_Name;CCW;CW">("IDS_Tr_Param_Direction_Desc"));

constinit decltype(TR_FullTwistS::kParams) TR_FullTwistS::kParams = Rows(
    ProgressRow<0.5f>());
