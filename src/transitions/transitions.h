// The two-dimensional transitions, by family file. Each renders one frame or field from source A
// and source B at the progress in their first parameter.
#pragma once

#include "module/effect.h"

// cut_fade.cpp
DECLARE_EFFECT(TR_NoEffect, 24, 1)
DECLARE_EFFECT(TR_Fade, 24, 1)
DECLARE_EFFECT(TR_Blending, 24, 1)

// wipe.cpp
DECLARE_STATELESS_EFFECT(TR_Wipe, TwoInputs, 24, 2)
DECLARE_EFFECT(TR_WipeSoft, 32, 2)
DECLARE_STATELESS_EFFECT(TR_DirtyWipe, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_Box, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_WipeClock, TwoInputs, 24, 2)
DECLARE_EFFECT(TR_WipeCenter, 32, 1)
DECLARE_STATELESS_EFFECT(TR_Cross, TwoInputs, 24, 1)

// push.cpp
DECLARE_STATELESS_EFFECT(TR_Slide, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_Shove, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_Swap, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_Door, TwoInputs, 24, 1)

// burn.cpp
DECLARE_EFFECT(TR_Burn, 160, 1)

// block_dissolve.cpp
DECLARE_EFFECT(TR_DissolveType, 48, 2)
DECLARE_EFFECT(TR_Collapse, 56, 2)

// stripes.cpp
DECLARE_STATELESS_EFFECT(TR_Shutter, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_Splices, TwoInputs, 24, 2)
DECLARE_PENDING_EFFECT(TR_Slices, TwoInputs, 24, 2)

// tone.cpp
DECLARE_STATELESS_EFFECT(TR_Threshold, TwoInputs, 24, 2)
DECLARE_STATELESS_EFFECT(TR_XRay, TwoInputs, 24, 1)
DECLARE_EFFECT(TR_ColorSplit, 24, 1)

// ripple.cpp
DECLARE_PENDING_EFFECT(TR_Ripple, TwoInputs, 2089048, 2)
DECLARE_PENDING_EFFECT(TR_Wave, TwoInputs, 24, 1)
DECLARE_PENDING_EFFECT(TR_WaveWipe, TwoInputs, 24, 2)
DECLARE_PENDING_EFFECT(TR_WormHole, TwoInputs, 24, 1)
DECLARE_PENDING_EFFECT(TR_Drain, TwoInputs, 40, 1)
DECLARE_PENDING_EFFECT(TR_RainDropS, TwoInputs, 80, 1)

// page_curl.cpp
DECLARE_PENDING_EFFECT(TR_PageCurl, TwoInputs, 20008, 2)
DECLARE_PENDING_EFFECT(TR_PageRoll, TwoInputs, 20008, 2)
DECLARE_PENDING_EFFECT(TR_PageFold, TwoInputs, 1048, 2)
DECLARE_PENDING_EFFECT(TR_Center, TwoInputs, 20008, 2)

// spin.cpp
DECLARE_PENDING_EFFECT(TR_Swinging, TwoInputs, 24, 1)
DECLARE_PENDING_EFFECT(TR_Swing, TwoInputs, 24, 2)
DECLARE_PENDING_EFFECT(TR_SpinHorizontal, TwoInputs, 33200, 2)
DECLARE_PENDING_EFFECT(TR_SlideSpin, TwoInputs, 33392, 2)
DECLARE_PENDING_EFFECT(TR_Twist, TwoInputs, 24, 2)
DECLARE_PENDING_EFFECT(TR_PinWheel, TwoInputs, 40, 2)
DECLARE_PENDING_EFFECT(TR_FullTwistS, TwoInputs, 48, 1)

// granulate.cpp
DECLARE_PENDING_EFFECT(TR_BlizzardS, TwoInputs, 56, 1)
DECLARE_PENDING_EFFECT(TR_GranulateS, TwoInputs, 56, 1)
DECLARE_PENDING_EFFECT(TR_BrokenGlass, TwoInputs, 32, 1)

// light_film.cpp
DECLARE_PENDING_EFFECT(TR_Glare, TwoInputs, 40, 1)
DECLARE_PENDING_EFFECT(TR_Interfere, TwoInputs, 440, 1)
DECLARE_PENDING_EFFECT(TR_Laser, TwoInputs, 48, 1)
DECLARE_PENDING_EFFECT(TR_Mirror, TwoInputs, 24, 1)
DECLARE_PENDING_EFFECT(TR_FilmScroll, TwoInputs, 32, 2)
DECLARE_PENDING_EFFECT(TR_BlurLine, TwoInputs, 24, 2)
