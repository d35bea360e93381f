// The colour adjustment: tone curves, recovery, fill light, vibrance, hue, saturation, sharpness.
#pragma once

#include "module/effect.h"

// color_adj.cpp
DECLARE_EFFECT(CO_ColorAdj, 131832, 10)
