// The one-input video effects and automatic corrections, by family file.
#pragma once

#include "video/video_effect.h"

// posterize_flip.cpp
DECLARE_EFFECT(VI_Posterize, 16, 6)
DECLARE_VIDEO_EFFECT(VI_FlipCanvas, kSet, 16, 6)

// auto_correct.cpp
DECLARE_VIDEO_EFFECT(VI_AutoLevels, kLeave, 16, 3)
DECLARE_VIDEO_EFFECT(VI_AutoContrast, kLeave, 16, 3)
DECLARE_VIDEO_EFFECT(VI_Equalize, kLeave, 16, 1)
DECLARE_VIDEO_EFFECT(VI_ContrastMask, kLeave, 16, 2)

// mosaic.cpp
DECLARE_VIDEO_EFFECT(VI_Mosaic, kLeave, 16, 5)

// filters.cpp
DECLARE_PENDING_EFFECT(VI_Blur, OneInput, 16, 6)
DECLARE_PENDING_EFFECT(VI_Edge, OneInput, 16, 8)
DECLARE_PENDING_EFFECT(VI_Emboss, OneInput, 16, 6)

// geometry.cpp
DECLARE_PENDING_EFFECT(VI_Swing, OneInput, 16, 8)
DECLARE_PENDING_EFFECT(VI_Ripple, OneInput, 2089056, 9)
DECLARE_PENDING_EFFECT(VI_ZoomIn, OneInput, 16, 7)
DECLARE_PENDING_EFFECT(VI_ZoomOut, OneInput, 16, 8)
DECLARE_PENDING_EFFECT(VI_RotateCanvas, OneInput, 16, 7)
DECLARE_PENDING_EFFECT(VI_TvWall, OneInput, 40, 7)

// colour_style.cpp
DECLARE_PENDING_EFFECT(VI_ColorBalance, OneInput, 16, 9)
DECLARE_PENDING_EFFECT(VI_ColorFocus, OneInput, 16, 9)
DECLARE_PENDING_EFFECT(VI_FilterColor, OneInput, 16, 7)
DECLARE_PENDING_EFFECT(VI_ReplaceColor, OneInput, 16, 8)
DECLARE_PENDING_EFFECT(VI_Threshold, OneInput, 16, 7)
DECLARE_PENDING_EFFECT(VI_XRay, OneInput, 16, 6)

// retro.cpp
DECLARE_PENDING_EFFECT(VI_Noise, OneInput, 16, 8)
DECLARE_PENDING_EFFECT(VI_Focus, OneInput, 16, 11)
DECLARE_PENDING_EFFECT(VI_Grid, OneInput, 16, 9)
DECLARE_PENDING_EFFECT(VI_Spotlight, OneInput, 2088, 12)

// time.cpp
DECLARE_PENDING_EFFECT(VI_Delay, OneInput, 56, 6)
DECLARE_PENDING_EFFECT(VI_Skip, OneInput, 48, 6)
