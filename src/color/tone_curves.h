// The tone curves of the colour adjustment: brightness, contrast and exposure as knot lists, the
// monotone rational spline through the knots, and the composition of the three tables into one map.
#pragma once

#include <cstdint>

namespace vek::colour {

constexpr int kMaxKnots = 15;
constexpr int kLevels = 256;

// The spline's work arrays; the effect keeps them in its private block and reuses them per curve.
struct SplineKnots {
  double x[kMaxKnots];
  double y[kMaxKnots];
  double slope[kMaxKnots];
};

// Each fills x and y of the knot list for one parameter value and returns the knot count.
int BrightnessKnots(double b, SplineKnots& knots) noexcept;
int ContrastKnots(double c, SplineKnots& knots) noexcept;
int ExposureKnots(double e, SplineKnots& knots) noexcept;

// Slopes from the unclipped knot values, then the 256 table entries: the spline at v = 0..255,
// rounded half up and clamped to 0..255. Knot values above 255 are clipped in place.
void BuildCurveTable(SplineKnots& knots, int count, int32_t table[kLevels]) noexcept;

// The first table after a reset (composed == 0) becomes the map; each later one is applied after it.
void ComposeInto(int32_t map[kLevels], const int32_t table[kLevels], int32_t& composed) noexcept;

// x86's conversion: truncation, and INT32_MIN for NaN and for values out of the int32 range, so
// that parameters beyond their rows give the same table on every platform instead of undefined
// behaviour.
int32_t TruncateToInt32(double value) noexcept;

}  // namespace vek::colour
