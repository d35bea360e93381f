// The levels stretch's vector row for SSE2 and AVX2. Each of their files instantiates it with a lane
// type of its own, declared in that file's anonymous namespace, so no copy compiled for one
// instruction set can stand in for the other's; for the same reason the fitting is compiled once,
// in the plain kernels' file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "video/kernels.h"

namespace vek::stretch_row {

// A stretch as integer steps: v - low = d gives d * whole + floor(d * fraction / 65536). The fraction
// is the least that reproduces every single-precision product inside the spread; one exists for
// every spread from 1 to 255.
struct Steps {
  int whole;
  uint32_t fraction;
};

Steps FitSteps(const Stretch& stretch);

// Pixels in 16-bit lanes, Lanes::kBytes / 4 at a time. Products beyond the spread may wrap or
// saturate: the bytes at or above `high` are forced to 255 after packing. The alpha lanes step by 1
// from 0 and are forced only at 255, so alpha comes out as it went in.
template <class Lanes>
void Row(const uint8_t* source, uint8_t* out, std::size_t pixels, const Stretch (&channels)[3]) {
  const Steps steps[3] = {FitSteps(channels[0]), FitSteps(channels[1]), FitSteps(channels[2])};
  const auto low = Lanes::PerChannel(channels[0].low, channels[1].low, channels[2].low, 0);
  const auto whole = Lanes::PerChannel(steps[0].whole, steps[1].whole, steps[2].whole, 1);
  const auto fraction = Lanes::PerChannel(int(steps[0].fraction), int(steps[1].fraction), int(steps[2].fraction), 0);
  const auto high = Lanes::EveryPixel(uint32_t(channels[0].high) | uint32_t(channels[1].high) << 8 |
                                      uint32_t(channels[2].high) << 16 | 0xFF000000u);
  const auto stretch = [&](auto bytes16) {
    const auto d = Lanes::SubtractSaturated16(bytes16, low);
    const auto below = Lanes::ShiftRight16(Lanes::MultiplyHigh16(Lanes::ShiftLeft16(d, 8), fraction), 8);
    return Lanes::Add16(Lanes::MultiplyLow16(d, whole), below);
  };
  constexpr std::size_t kPixels = Lanes::kBytes / 4;
  std::size_t x = 0;
  for (; x + kPixels <= pixels; x += kPixels) {
    const auto px = Lanes::Load(source + 4 * x);
    const auto stretched = Lanes::Pack16(stretch(Lanes::WidenLow(px)), stretch(Lanes::WidenHigh(px)));
    Lanes::Store(out + 4 * x, Lanes::Or(stretched, Lanes::AtOrAbove(px, high)));
  }
  for (; x < pixels; ++x) {
    for (int c = 0; c < 3; ++c) out[4 * x + c] = Stretched(channels[c], source[4 * x + c]);
    out[4 * x + 3] = source[4 * x + 3];
  }
}

}  // namespace vek::stretch_row
