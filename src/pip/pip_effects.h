// The picture-in-picture overlays: source B laid over source A by the companion picture library.
#pragma once

#include "module/effect.h"

// overlays.cpp
DECLARE_PENDING_EFFECT(PI_Still, TwoInputs, 56, 26)
DECLARE_PENDING_EFFECT(PI_AlphaMask, TwoInputs, 56, 29)
DECLARE_PENDING_EFFECT(PI_Rotate, TwoInputs, 56, 31)
DECLARE_PENDING_EFFECT(PI_Script, TwoInputs, 56, 1)
