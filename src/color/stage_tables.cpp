#include "color/stage_tables.h"

#include "color/tone_curves.h"

namespace vek::colour {
namespace {

// Corners of the hue hexagon as masks of the bytes at the maximum (bit 0 blue, 1 green, 2 red):
// red, yellow, green, cyan, blue, magenta.
constexpr int32_t kCorners[6] = {4, 6, 2, 3, 1, 5};

int32_t Round(double value) { return TruncateToInt32(value + 0.5); }

double Clamp01(double value) { return value < 0 ? 0 : value > 1 ? 1 : value; }

// Fill light lifts the shadows by x^2 (1 - x/0.7)^2: flat at black (no grey veil over the
// blacks), largest at x = 0.35 (+0.15 at full amount), nothing from 0.7 up.
constexpr double kFillEnd = 0.7;
constexpr double kFillStrength = 4.9;
// Recovery pulls the highlights down by u^2 (1 - u) with u = (x - 0.5) / 0.5: white stays white, so
// the top of the range is stretched rather than squeezed (slope 2.5 at white, at least 0.5 anywhere).
constexpr double kRecoveryStart = 0.5;
constexpr double kRecoveryStrength = 0.75;

}  // namespace

void BuildHueSectors(HueSector* sectors) noexcept {
  for (int position = 0; position < kHuePositions; ++position) {
    const int sector = position / kSectorPositions, fraction = position % kSectorPositions;
    const int32_t weight2 = (fraction * 65536 + kSectorPositions / 2) / kSectorPositions;
    sectors[position] = {kCorners[sector], kCorners[(sector + 1) % 6], 65536 - weight2, weight2};
  }
}

void BuildDivisionTables(int32_t top, const DivisionTables& tables) noexcept {
  tables.fractionScale[0] = tables.saturationScale[0] = 0;
  tables.inverse[0] = 0;
  for (int v = 1; v < 256; ++v) {
    tables.fractionScale[v] = Round(kSectorPositions * 65536.0 / v);
    tables.saturationScale[v] = Round(top * 65536.0 / v);
    tables.inverse[v] = float(1.0 / v);
  }
  // Only the entries with m <= d and d <= max are ever read; the others are 0.
  for (int outer = 0; outer < kDivisionTableSide; ++outer) {
    for (int inner = 0; inner < kDivisionTableSide; ++inner) {
      const int at = outer * kDivisionTableSide + inner;
      tables.sectorFraction[at] =
          inner <= outer ? int16_t((int64_t(inner) * tables.fractionScale[outer] + 32768) >> 16) : int16_t(0);
      tables.saturationColumn[at] =
          inner <= outer ? uint8_t(((inner * tables.saturationScale[outer] + 32768) >> 16) >> 2) : uint8_t(0);
    }
  }
}

void BuildVibranceWeights(int32_t top, int32_t* weights) noexcept {
  for (int hue = 0; hue < 64; ++hue) {
    // Skin tones lie between red and yellow: full protection from 15 to 35 degrees, none below 0
    // or above 50. Each cell is taken at its centre.
    const double degrees = (hue + 0.5) * 360.0 / 64;
    const double skinHue = degrees < 15 ? degrees / 15 : degrees <= 35 ? 1 : Clamp01((50 - degrees) / 15);
    for (int level = 0; level < 64; ++level) {
      const double saturation = top > 0 ? Clamp01((level * 4 + 1.5) / top) : 0;
      // ... and are moderately saturated.
      const double skinSaturation = saturation < 0.15   ? Clamp01((saturation - 0.05) / 0.1)
                                    : saturation <= 0.55 ? 1
                                                         : Clamp01((0.8 - saturation) / 0.25);
      const double weight = (1 - saturation) * (1 - 0.8 * skinHue * skinSaturation);
      weights[hue * 64 + level] = Round(weight * 65536);
    }
  }
}

double LightCurve(double x, double recovery, double fillLight) noexcept {
  if (x < kFillEnd) {
    const double rest = 1 - x / kFillEnd;
    x += fillLight * kFillStrength * x * x * rest * rest;
  }
  if (x > kRecoveryStart) {
    const double u = (x - kRecoveryStart) / (1 - kRecoveryStart);
    x -= recovery * kRecoveryStrength * u * u * (1 - u);
  }
  return x;
}

void BuildLightGains(int32_t recovery, int32_t fillLight, int32_t gain[256]) noexcept {
  const double r = Clamp01(recovery / 100.0), f = Clamp01(fillLight / 100.0);
  gain[0] = 65536;
  for (int v = 1; v < 256; ++v) {
    int32_t level = Round(LightCurve(v / 255.0, r, f) * 255);
    level = level < 0 ? 0 : level > 255 ? 255 : level;
    // Rounded down, so that the brightest byte lands exactly on the curve and none passes 255.
    gain[v] = (level * 65536) / v;
  }
}

void BuildCoring(int32_t coring[kCoringEntries]) noexcept {
  for (int a = 0; a < kCoringEntries; ++a) {
    coring[a] = a <= kCoringThreshold ? 0 : ((a - kCoringThreshold) * 65536) / a;
  }
}

}  // namespace vek::colour
