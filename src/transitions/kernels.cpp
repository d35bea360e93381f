#include "transitions/kernels.h"

#include <algorithm>
#include <cstring>

namespace vek {

void LerpRowScalar(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight) {
  for (std::size_t i = 0; i < bytes; ++i) out[i] = uint8_t(a[i] + (((int(b[i]) - int(a[i])) * weight) >> 7));
}

void AlphaOverRow(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels) {
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

void FillPixels(uint8_t* out, int to, int pixels, const uint8_t pixel[4]) {
  uint32_t word;
  std::memcpy(&word, pixel, sizeof word);
  out += std::size_t(to) * 4;
  for (int x = 0; x < pixels; ++x) std::memcpy(out + std::size_t(x) * 4, &word, sizeof word);
}

void AlternateRuns(const uint8_t* first, const uint8_t* second, uint8_t* out, int pixels, const int* cuts,
                   int count, CopyPixelsFn copy, std::ptrdiff_t ahead) {
  int start = 0;
  for (int k = 0; k <= count; ++k) {
    const int end = k < count ? std::clamp(cuts[k], start, pixels) : pixels;
    copy(k % 2 == 0 ? first : second, start, out, start, end - start, ahead);
    start = end;
  }
}

void SoftEdgeRowScalar(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t) {
  for (int x = 0; x < pixels; ++x, a += 4, b += 4, out += 4) {
    const int k = std::clamp(t + mask[x], 0, 31);
    for (int c = 0; c < 3; ++c) out[c] = uint8_t(a[c] + (((int(b[c]) - int(a[c])) * k) >> 5));
  }
}

void WeightedRowScalar(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels) {
  for (int x = 0; x < pixels; ++x, a += 4, b += 4, out += 4) {
    const int w = weights[x];
    for (int c = 0; c < 4; ++c) out[c] = uint8_t(a[c] + (((int(b[c]) - int(a[c])) * w) >> 8));
  }
}

void GatherPixels(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead) {
  for (int x = 0; x < pixels; ++x) {
    const uint8_t* pixel = source + std::size_t(columns[x]) * 4;
    if (ahead != 0 && x % 16 == 0) {
      __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(pixel) + uintptr_t(ahead)));
    }
    std::memcpy(out + std::size_t(x) * 4, pixel, 4);
  }
}

void GatherBytes(const uint8_t* table, const int* indices, int offset, uint8_t* out, int count) {
  for (int i = 0; i < count; ++i) out[i] = table[indices[i] - offset];
}

void BurnRowScalar(const int32_t* map, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels,
                   int32_t threshold, const uint8_t* flame) {
  const int64_t bandStart = int64_t(threshold) - kBurnBand;
  for (int x = 0; x < pixels; ++x) {
    const int32_t value = map[x];
    const std::size_t at = std::size_t(x) * 4;
    if (value >= threshold) {
      std::memcpy(out + at, a + at, 4);
    } else if (value < bandStart) {
      std::memcpy(out + at, b + at, 4);
    } else {
      std::memcpy(out + at, flame + std::size_t(value - bandStart) * 4, 3);
      out[at + 3] = (a[at + 3] | b[at + 3]) ? 255 : 0;
    }
  }
}

void BurnSpanBounds(const int32_t* map, int pixels, int32_t* bounds) {
  for (int x0 = 0; x0 < pixels; x0 += kBurnSpan, bounds += 2) {
    const auto [low, high] = std::minmax_element(map + x0, map + std::min(pixels, x0 + kBurnSpan));
    bounds[0] = *low;
    bounds[1] = *high;
  }
}

void ThresholdRowScalar(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                        bool lumaKey) {
  for (int x = 0; x < pixels; ++x) {
    const uint8_t* k = key + std::size_t(x) * 4;
    const int brightness = lumaKey ? k[2] : k[0] + k[1] + k[2];
    std::memcpy(out + std::size_t(x) * 4, (brightness >= limit ? a : b) + std::size_t(x) * 4, 4);
  }
}

namespace {

int NegativeLuma(const uint8_t* pixel) {
  return ~((1053 * pixel[2] + 2064 * pixel[1] + 401 * pixel[0] + 67584) >> 12) & 255;
}

int Tone(int negative, int shift) {
  const int u = shift + 4 * negative;
  return u > negative ? std::min(u, 255) : negative;
}

// The luma of the grey (g, g, g).
int GreyLuma(int grey) { return (3518 * grey + 67584) >> 12; }

}  // namespace

void XRayNegativeRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    const int negative = NegativeLuma(source);
    for (int c = 0; c < 3; ++c) out[c] = uint8_t((source[c] * (1024 - weight) + negative * weight) >> 10);
    out[3] = source[3];
  }
}

void XRayToneRowScalar(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    out[0] = out[1] = out[2] = uint8_t(Tone(NegativeLuma(source), shift));
    out[3] = source[3];
  }
}

void XRayLumaNegativeRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    out[0] = uint8_t(source[0] + (((128 - source[0]) * weight) >> 10));
    out[1] = uint8_t(source[1] + (((128 - source[1]) * weight) >> 10));
    out[2] = uint8_t(source[2] + (((GreyLuma(255 - source[2]) - source[2]) * weight) >> 10));
    out[3] = source[3];
  }
}

void XRayLumaToneRowScalar(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    out[0] = out[1] = 128;
    out[2] = uint8_t(GreyLuma(Tone(255 - source[2], shift)));
    out[3] = source[3];
  }
}

void TowardColourRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    for (int c = 0; c < 3; ++c) out[c] = uint8_t(source[c] + (((colour[c] - source[c]) * weight) >> 10));
    out[3] = source[3];
  }
}

void FallGatherRowScalar(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                         bool lumaChroma) {
  for (int x = 0; x < pixels; ++x) {
    const uint8_t* chosen = b + std::size_t(x) * 4;
    for (int k = 0; k < count; ++k) {
      const uint8_t* p = candidates[k] + std::size_t(x) * 4;
      const int tone = lumaChroma ? (p[2] + 31) >> 6 : (p[0] + p[1] + p[2]) >> 7;
      if (std::max(tone, 1) == k + 1) {
        chosen = p;
        break;
      }
    }
    std::memcpy(out + std::size_t(x) * 4, chosen, 4);
  }
}

void SampledLerpRowScalar(const uint8_t* a, const int* columnsA, const uint8_t* b, const int* columnsB, uint8_t* out,
                          int pixels, int weight) {
  for (int x = 0; x < pixels; ++x, out += 4) {
    const uint8_t* pa = a + std::size_t(columnsA[x]) * 4;
    const uint8_t* pb = b + std::size_t(columnsB[x]) * 4;
    for (int c = 0; c < 4; ++c) out[c] = uint8_t(pa[c] + (((int(pb[c]) - int(pa[c])) * weight) >> 7));
  }
}

}  // namespace vek
