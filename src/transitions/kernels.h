// Row kernels of the two-dimensional transitions: bytes, a byte count and plain numbers in, one
// output row out. Vector variants give the scalar variant's bytes exactly.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vek {

// out = a + floor((b - a) * weight / 128) per byte, weight 0..127.
inline void LerpRowScalar(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight) {
  for (std::size_t i = 0; i < bytes; ++i) out[i] = uint8_t(a[i] + (((int(b[i]) - int(a[i])) * weight) >> 7));
}
void LerpRowSse41(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight);
using LerpRowFn = void (*)(const uint8_t*, const uint8_t*, uint8_t*, std::size_t, int);

// B over A through B's alpha: transparent keeps A, opaque takes B, anything between blends the
// colour bytes by alpha / 256 and makes the pixel opaque.
inline void AlphaOverRow(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels) {
  for (int x = 0; x < pixels; ++x, a += 4, b += 4, out += 4) {
    const int alpha = b[3];
    if (alpha == 0 || alpha == 255) {
      const uint8_t* chosen = alpha == 0 ? a : b;
      out[0] = chosen[0], out[1] = chosen[1], out[2] = chosen[2], out[3] = chosen[3];
      continue;
    }
    for (int c = 0; c < 3; ++c) out[c] = uint8_t(a[c] + (((int(b[c]) - int(a[c])) * alpha) >> 8));
    out[3] = 255;
  }
}
void AlphaOverRowSse2(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels);

}  // namespace vek
