// The tables of the colour adjustment's light, chroma and sharpening stages. Built with plain
// double arithmetic only (no library functions), so every platform builds the same bytes.
#pragma once

#include <cstdint>

#include "color/kernels.h"

namespace vek::colour {

constexpr int kHuePositions = 36000;  // the colour wheel in hundredths of a degree
constexpr int kSectorPositions = 6000;

void BuildHueSectors(HueSector* sectors) noexcept;

// The divisions of the chroma stages, as scales per divisor and as ChromaTables' 256 x 256 tables
// of their results; `top` is the saturation byte of a fully saturated colour.
struct DivisionTables {
  int32_t* fractionScale;    // [d]: 6000 * 65536 / d, so m * it >> 16 is m / d of a sector in 1/6000
  int32_t* saturationScale;  // [max]: top * 65536 / max, so d * it >> 16 is d / max as a byte
  float* inverse;            // [d]: 1 / d
  int16_t* sectorFraction;   // as ChromaTables reads them
  uint8_t* saturationColumn;  // as ChromaTables reads them
};
void BuildDivisionTables(int32_t top, const DivisionTables& tables) noexcept;
// [hue / 4][saturation / 4], 64 x 64: (1 - saturation) * (1 - 0.8 * skin) in 1/65536.
void BuildVibranceWeights(int32_t top, int32_t* weights) noexcept;

// The recovery and fill-light curve as 16.16 gains on the brightest byte: fill first, then
// recovery; both amounts 0..100 (clamped).
void BuildLightGains(int32_t recovery, int32_t fillLight, int32_t gain[256]) noexcept;
// The curve itself at x in 0..1, for documentation and tests of its shape.
double LightCurve(double x, double recovery, double fillLight) noexcept;

void BuildCoring(int32_t coring[kCoringEntries]) noexcept;

}  // namespace vek::colour
