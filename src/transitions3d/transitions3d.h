// The transitions drawn as textured meshes by the software renderer, by family file.
#pragma once

#include "module/effect.h"

// flip.cpp
DECLARE_EFFECT(TR_3DFlip, 56, 2)
DECLARE_EFFECT(TR_3DFlipTwo, 56, 2)

// fold.cpp
DECLARE_PENDING_EFFECT(TR_3DFold, TwoInputs, 48, 2)

// typhoon.cpp
DECLARE_PENDING_EFFECT(TR_3DTyphoon, TwoInputs, 56, 2)

// blocks.cpp
DECLARE_PENDING_EFFECT(TR_3DMagicBlocksS, TwoInputs, 40, 1)
DECLARE_PENDING_EFFECT(TR_3DChainReact, TwoInputs, 56, 2)
DECLARE_PENDING_EFFECT(TR_3DDominotes, TwoInputs, 56, 2)
DECLARE_PENDING_EFFECT(TR_3DFragments, TwoInputs, 56, 2)
DECLARE_PENDING_EFFECT(TR_3DSeism, TwoInputs, 56, 2)
