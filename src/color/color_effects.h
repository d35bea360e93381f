// The colour adjustment: tone curves, recovery, fill light, vibrance, hue, saturation, sharpness.
#pragma once

#include "module/effect.h"

// color_adj.cpp
DECLARE_PENDING_EFFECT(CO_ColorAdj, OneInput, 131832, 10)
