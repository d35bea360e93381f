#include "color/kernels.h"

#include <algorithm>

#include "vek_dsp/colour.h"

namespace vek::colour {
namespace {

// The pixel's place on the colour wheel in hundredths of a degree (red 0, yellow 6000, green
// 12000 ...) from its maximum, minimum and middle byte; d = max - min > 0. Which sector the pixel
// is in follows from three comparisons, without branches: each sector starts or ends at a corner
// and the middle byte's distance from the minimum runs forwards or backwards from it.
int32_t HuePosition(int32_t b, int32_t g, int32_t r, int32_t mx, int32_t mn, const int16_t* sectorFraction) {
  //                             code: r > g (4), g > b (2), r > b (1); 1 and 6 cannot happen
  static constexpr int32_t kStart[8] = {24000, 0, 12000, 12000, 24000, 36000, 0, 0};
  static constexpr int32_t kDirection[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
  const int code = (r > g) * 4 + (g > b) * 2 + (r > b);
  const int32_t md = b + g + r - mx - mn;
  const int32_t position = kStart[code] + kDirection[code] * sectorFraction[(mx - mn) * kDivisionTableSide + md - mn];
  return position >= 36000 ? position - 36000 : position;
}

float Luma(float b, float g, float r) { return 0.299f * r + 0.587f * g + 0.114f * b; }

uint8_t RoundToByte(float value) { return uint8_t(int32_t(std::min(std::max(value, 0.0f), 255.0f) + 0.5f)); }

// Moves hi and lo away from y (lo < y < hi) by `factor`. Above 1 the factor is cut where the first
// of them would pass 255 or 0; below 1 nothing can leave the range.
void Scale(float& hi, float& lo, float y, float factor) {
  if (factor > 1) factor = std::max(1.0f, std::min({factor, (255 - y) / (hi - y), y / (y - lo)}));
  hi = y + factor * (hi - y);
  lo = y + factor * (lo - y);
}

}  // namespace

void ToneRow(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* map, int32_t range) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    const int32_t c0 = source[0], c1 = source[1], c2 = source[2];
    int maxIndex, minIndex;
    if (c1 <= c0 && c2 <= c0) {
      maxIndex = 0, minIndex = c1 <= c2 ? 1 : 2;
    } else if (c1 >= c0 && c1 >= c2) {
      maxIndex = 1, minIndex = c0 <= c2 ? 0 : 2;
    } else {
      maxIndex = 2, minIndex = c0 <= c1 ? 0 : 1;
    }
    const int midIndex = 3 - maxIndex - minIndex;
    const int32_t mx = source[maxIndex], mn = source[minIndex], md = source[midIndex];
    const int32_t newMax = map[mx], newMin = map[mn], mappedMid = map[md];
    int32_t t = mappedMid;
    if (mx != mn) {
      // The half range rounds the quotient; it is added to the product, not a shift count.
      t = newMin + (((mx - mn) >> 1) + (newMax - newMin) * (md - mn)) / (mx - mn);
    }
    if (mx > range) t += ((range - newMax + newMin) * (mappedMid - t) + 128) / range;
    int32_t mid;
    if (mappedMid >= md) {
      mid = t >= mappedMid ? mappedMid : std::max(t, md);
    } else {
      mid = t <= mappedMid ? mappedMid : std::min(t, md);
    }
    const uint8_t alpha = source[3];
    out[maxIndex] = uint8_t(newMax), out[minIndex] = uint8_t(newMin), out[midIndex] = uint8_t(mid);
    out[3] = alpha;
  }
}

void LightRow(const uint8_t* source, uint8_t* out, int pixels, const int32_t* gain) {
  for (int x = 0; x < pixels; ++x, source += 4, out += 4) {
    const uint32_t b = source[0], g = source[1], r = source[2], alpha = source[3];
    const uint32_t factor = uint32_t(gain[std::max({b, g, r})]);
    out[0] = uint8_t((b * factor + 32768) >> 16);
    out[1] = uint8_t((g * factor + 32768) >> 16);
    out[2] = uint8_t((r * factor + 32768) >> 16);
    out[3] = uint8_t(alpha);
  }
}

namespace {

// Each stage is compiled in or out, so the loop carries no test of the settings.
template <bool kVibrance, bool kHue, bool kSaturation>
void ChromaPixels(uint8_t* row, int pixels, const ChromaTables& t, const ChromaSettings& settings) {
  for (int x = 0; x < pixels; ++x, row += 4) {
    const int32_t b = row[0], g = row[1], r = row[2];
    const int32_t mx = std::max({b, g, r}), mn = std::min({b, g, r}), d = mx - mn;
    if (d == 0) continue;  // grey stays grey in every stage
    float hi = float(mx), lo = float(mn);
    int32_t position = 0;
    if constexpr (kVibrance || kHue) position = HuePosition(b, g, r, mx, mn, t.sectorFraction);
    if constexpr (kVibrance) {
      const int32_t hueQuarter = position * 64 / 36000;
      const float factor = t.vibranceFactor[hueQuarter * 64 + t.saturationColumn[mx * kDivisionTableSide + d]];
      Scale(hi, lo, Luma(float(b), float(g), float(r)), factor);
    }
    // Each byte's place between the minimum and the maximum: from the hue-sector table after a
    // turn, else the pixel's own.
    float own[3];
    const float* place = own;
    float luma = 0;
    if constexpr (kHue) {
      position += settings.turn;
      if (position >= 36000) position -= 36000;
      place = t.bases[position].place;
      luma = t.bases[position].luma;
    } else {
      const float inverse = t.inverse[d];
      own[0] = float(b - mn) * inverse, own[1] = float(g - mn) * inverse, own[2] = float(r - mn) * inverse;
      if constexpr (kSaturation) luma = Luma(own[0], own[1], own[2]);
    }
    if constexpr (kSaturation) Scale(hi, lo, lo + (hi - lo) * luma, settings.factor);
    const float spread = hi - lo;
    row[0] = RoundToByte(lo + spread * place[0]);
    row[1] = RoundToByte(lo + spread * place[1]);
    row[2] = RoundToByte(lo + spread * place[2]);
  }
}

}  // namespace

void ChromaRow(uint8_t* row, int pixels, const ChromaTables& tables, const ChromaSettings& settings) {
  using Kernel = void (*)(uint8_t*, int, const ChromaTables&, const ChromaSettings&);
  static constexpr Kernel kKernels[8] = {ChromaPixels<false, false, false>, ChromaPixels<false, false, true>,
                                         ChromaPixels<false, true, false>,  ChromaPixels<false, true, true>,
                                         ChromaPixels<true, false, false>,  ChromaPixels<true, false, true>,
                                         ChromaPixels<true, true, false>,   ChromaPixels<true, true, true>};
  kKernels[settings.vibrance * 4 + settings.hue * 2 + settings.saturation](row, pixels, tables, settings);
}

void BuildHueBases(const HueSector* sectors, int count, HueBasis* bases) noexcept {
  for (int position = 0; position < count; ++position) {
    const HueSector& sector = sectors[position];
    HueBasis& basis = bases[position];
    for (int k = 0; k < 3; ++k) {
      const int32_t w = ((sector.colour1 >> k) & 1) * sector.weight1 + ((sector.colour2 >> k) & 1) * sector.weight2;
      basis.place[k] = float(w) * (1.0f / 65536);
    }
    basis.luma = Luma(basis.place[0], basis.place[1], basis.place[2]);
  }
}

void BuildVibranceFactors(const int32_t* weights, float amount, float* factors) noexcept {
  for (int cell = 0; cell < 64 * 64; ++cell) {
    factors[cell] = std::max(0.0f, 1 + amount * (float(weights[cell]) * (1.0f / 65536)));
  }
}

void LumaRow(const uint8_t* row, uint8_t* luma, int pixels) {
  for (int x = 0; x < pixels; ++x, row += 4) luma[x] = uint8_t((29 * row[0] + 150 * row[1] + 77 * row[2] + 128) >> 8);
}

void LumaOfYuvRow(const uint8_t* row, uint8_t* luma, int pixels) {
  for (int x = 0; x < pixels; ++x) luma[x] = row[4 * x + 2];
}

void YuvToRgbRow(const uint8_t* source, uint8_t* rgb, int pixels) {
  for (int x = 0; x < pixels; ++x, source += 4, rgb += 4) {
    const VekRgb colour = VekYuvToRgb(source[2], source[1], source[0]);
    rgb[0] = colour.b, rgb[1] = colour.g, rgb[2] = colour.r, rgb[3] = source[3];
  }
}

void AddRgbChangeToYuvRow(const uint8_t* source, const uint8_t* before, const uint8_t* after, uint8_t* out,
                          int pixels) {
  for (int x = 0; x < pixels; ++x, source += 4, before += 4, after += 4, out += 4) {
    const int32_t db = after[0] - before[0], dg = after[1] - before[1], dr = after[2] - before[2];
    out[0] = VekClampByte(source[0] + ((1798 * dr - 1507 * dg - 291 * db + 2048) >> 12));
    out[1] = VekClampByte(source[1] + ((1798 * db - 1192 * dg - 606 * dr + 2048) >> 12));
    out[2] = VekClampByte(source[2] + ((1053 * dr + 2064 * dg + 401 * db + 2048) >> 12));
    out[3] = source[3];
  }
}

namespace {

template <class Wide>
void Sharpen(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
             int width, int x0, int x1, const SharpenKernel& kernel) {
  const Wide centreTap = Wide(kernel.centre), edgeTap = Wide(kernel.edge);
  for (int x = x0; x < x1; ++x) {
    const int32_t y = centre[x], left = centre[x > 0 ? x - 1 : x], right = centre[x + 1 < width ? x + 1 : x];
    const int32_t above = up[x], below = down[x];
    const int32_t neighbours = left + right + above + below;
    const Wide sharpened = (centreTap * y + edgeTap * neighbours + 32768) >> 16;
    // Coring: nearly flat luma (noise, smooth gradients) is left alone.
    const int32_t laplacian = 4 * y - neighbours;
    Wide change = ((sharpened - y) * kernel.coring[laplacian < 0 ? -laplacian : laplacian] + 32768) >> 16;
    // Held within the luma range of the five taps, so edges steepen without bright or dark rims and
    // the flat side of an edge stays as it is. Only a peak (above or below both its neighbours along
    // the row or the column: a dot or a thin line) may pass the range, by a quarter of it.
    const int32_t lo = std::min({y, left, right, above, below}), hi = std::max({y, left, right, above, below});
    const int32_t margin = (hi - lo) >> 2;
    const bool peak = (y > left && y > right) || (y > above && y > below);
    const bool pit = (y < left && y < right) || (y < above && y < below);
    change = std::min<Wide>(std::max<Wide>(y + change, pit ? lo - margin : lo), peak ? hi + margin : hi) - y;
    const uint8_t* p = pixels + 4 * x;
    uint8_t* o = out + 4 * x;
    const int32_t delta = int32_t(change);
    if (kernel.rgb) {
      o[0] = VekClampByte(p[0] + delta), o[1] = VekClampByte(p[1] + delta), o[2] = VekClampByte(p[2] + delta);
    } else {
      o[0] = p[0], o[1] = p[1], o[2] = VekClampByte(p[2] + delta);
    }
    o[3] = p[3];
  }
}

}  // namespace

// Sharpness up to 2 (and a good way beyond) keeps every product in 32 bits; larger kernels, which
// only a value block beyond the row's range can give, take 64-bit arithmetic.
void SharpenRow(const uint8_t* up, const uint8_t* centre, const uint8_t* down, const uint8_t* pixels, uint8_t* out,
                int width, int x0, int x1, const SharpenKernel& kernel) {
  constexpr int64_t kNarrow = int64_t(1) << 20;
  const bool narrow = kernel.centre > -kNarrow && kernel.centre < kNarrow && kernel.edge > -kNarrow && kernel.edge < kNarrow;
  (narrow ? Sharpen<int32_t> : Sharpen<int64_t>)(up, centre, down, pixels, out, width, x0, x1, kernel);
}

}  // namespace vek::colour
