// The tables of the colour adjustment's light, chroma and sharpening stages. Built with plain
// double arithmetic only (no library functions), so every platform builds the same bytes.
#pragma once

#include <cstdint>

#include "color/kernels.h"

namespace vek::colour {

constexpr int kHuePositions = 36000;  // the colour wheel in hundredths of a degree
constexpr int kSectorPositions = 6000;
constexpr int kCoringEntries = 1021;  // |4 y - four neighbours| is at most 1020

void BuildHueSectors(HueSector* sectors) noexcept;

// The scales and inverses of ChromaTables; `top` is the saturation byte of a fully saturated colour.
void BuildDivisionTables(int32_t top, int32_t* fractionScale, int32_t* saturationScale, float* inverse) noexcept;
// [hue / 4][saturation / 4], 64 x 64: (1 - saturation) * (1 - 0.8 * skin) in 1/65536.
void BuildVibranceWeights(int32_t top, int32_t* weights) noexcept;

// The recovery and fill-light curve as 16.16 gains on the brightest byte: fill first, then
// recovery; both amounts 0..100 (clamped).
void BuildLightGains(int32_t recovery, int32_t fillLight, int32_t gain[256]) noexcept;
// The curve itself at x in 0..1, for documentation and tests of its shape.
double LightCurve(double x, double recovery, double fillLight) noexcept;

// Sharpening keeps changes where the luma varies by more than this (in units of the laplacian).
constexpr int kCoringThreshold = 4;
void BuildCoring(int32_t coring[kCoringEntries]) noexcept;

}  // namespace vek::colour
