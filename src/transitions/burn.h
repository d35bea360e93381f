// The fire front of DSP_TR_Burn: a fractal map of one value a pixel, drawn from the C library's
// generator, which the caller seeds.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vek {

// The frame size a map was built for, followed by its values: one a pixel, row-major; then the
// bounds of every row's spans (BurnSpanBounds). Keeping the size with the values lets Process refuse
// a frame the map does not cover instead of reading past it.
struct BurnMap {
  uint32_t width;
  uint32_t height;

  int32_t* Values() noexcept { return reinterpret_cast<int32_t*>(this + 1); }
  const int32_t* Values() const noexcept { return reinterpret_cast<const int32_t*>(this + 1); }
  const int32_t* SpanBounds() const noexcept { return Values() + std::size_t(width) * height; }
};

// Diamond-square midpoint displacement on a wrapping power-of-two grid: at every level the
// amplitude is trunc(side * roughness + baseAmplitude). Raises `maximum` and lowers `minimum` to
// cover every value. Null when memory runs out; free it with FreeBurnMap.
BurnMap* BuildBurnMap(uint32_t width, uint32_t height, float roughness, float baseAmplitude, int32_t& maximum,
                      int32_t& minimum) noexcept;
void FreeBurnMap(BurnMap* map) noexcept;

}  // namespace vek
