// Kernels written for SSE2, which every x86-64 processor has, so they need no render hint.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "transitions/kernels.h"

namespace vek {
namespace {

// floor((b - a) * alpha / 256) for 16-bit lanes: mulhi of (b - a) * 128 and 2 * alpha is exactly
// the product shifted right by 8, and neither factor overflows.
inline __m128i AlphaStep(__m128i a, __m128i b, __m128i alpha) {
  return _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(b, a), 7), _mm_add_epi16(alpha, alpha));
}

// Each pixel's alpha repeated over its four 16-bit lanes.
inline __m128i SpreadAlpha(__m128i pixels16) {
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pixels16, _MM_SHUFFLE(3, 3, 3, 3)), _MM_SHUFFLE(3, 3, 3, 3));
}

}  // namespace

void AlphaOverRowSse2(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i opaque = _mm_set1_epi32(int(0xFF000000u));
  const __m128i full = _mm_set1_epi32(255);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, a += 16, b += 16, out += 16) {
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    const __m128i aLow = _mm_unpacklo_epi8(va, zero), aHigh = _mm_unpackhi_epi8(va, zero);
    const __m128i bLow = _mm_unpacklo_epi8(vb, zero), bHigh = _mm_unpackhi_epi8(vb, zero);
    const __m128i low = _mm_add_epi16(aLow, AlphaStep(aLow, bLow, SpreadAlpha(bLow)));
    const __m128i high = _mm_add_epi16(aHigh, AlphaStep(aHigh, bHigh, SpreadAlpha(bHigh)));
    const __m128i blended = _mm_or_si128(_mm_packus_epi16(low, high), opaque);
    const __m128i alpha = _mm_srli_epi32(vb, 24);
    const __m128i takeB = _mm_cmpeq_epi32(alpha, full), takeA = _mm_cmpeq_epi32(alpha, zero);
    const __m128i blend = _mm_andnot_si128(_mm_or_si128(takeA, takeB), blended);
    const __m128i kept = _mm_or_si128(_mm_and_si128(takeB, vb), _mm_and_si128(takeA, va));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_or_si128(kept, blend));
  }
  AlphaOverRow(a, b, out, pixels - x);
}

void WeightedRowSse2(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels) {
  const __m128i zero = _mm_setzero_si128();
  int x = 0;
  for (; x + 4 <= pixels; x += 4, a += 16, b += 16, out += 16) {
    int32_t four;
    std::memcpy(&four, weights + x, sizeof four);
    const __m128i w16 = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), zero);
    const __m128i pairs = _mm_unpacklo_epi16(w16, w16);  // w0 w0 w1 w1 w2 w2 w3 w3
    const __m128i wLow = _mm_unpacklo_epi32(pairs, pairs), wHigh = _mm_unpackhi_epi32(pairs, pairs);
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    const __m128i aLow = _mm_unpacklo_epi8(va, zero), aHigh = _mm_unpackhi_epi8(va, zero);
    const __m128i low = _mm_add_epi16(aLow, AlphaStep(aLow, _mm_unpacklo_epi8(vb, zero), wLow));
    const __m128i high = _mm_add_epi16(aHigh, AlphaStep(aHigh, _mm_unpackhi_epi8(vb, zero), wHigh));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
  }
  WeightedRowScalar(a, b, weights + x, out, pixels - x);
}

namespace {

inline __m128i Load(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
inline void Store(void* at, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(at), value); }
inline __m128i Select(__m128i mask, __m128i ifSet, __m128i ifClear) {
  return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, ifClear));
}

// c + floor((target - c) * weight / 1024) in the colour lanes, c in the alpha lanes: mulhi of
// (target - c) * 64 and the weight (at most 1024) is exactly that floor, and neither factor overflows.
inline __m128i TowardTarget(__m128i pixels16, __m128i targets16, __m128i weights) {
  const __m128i colourLanes = _mm_setr_epi16(-1, -1, -1, 0, -1, -1, -1, 0);
  const __m128i difference = _mm_and_si128(_mm_sub_epi16(targets16, pixels16), colourLanes);
  return _mm_add_epi16(pixels16, _mm_mulhi_epi16(_mm_slli_epi16(difference, 6), weights));
}

// Four 32-bit values, each repeated over its pixel's four 16-bit lanes: pixels 0 and 1, or 2 and 3.
inline __m128i SpreadLow(__m128i values) {
  const __m128i pairs = _mm_unpacklo_epi32(values, values);
  return _mm_or_si128(pairs, _mm_slli_epi32(pairs, 16));
}
inline __m128i SpreadHigh(__m128i values) {
  const __m128i pairs = _mm_unpackhi_epi32(values, values);
  return _mm_or_si128(pairs, _mm_slli_epi32(pairs, 16));
}

// The negative luma 255 - Y of four ARGB pixels given as 16-bit lanes, one per 32-bit lane: madd
// gives 401 B + 2064 G and 1053 R in neighbouring lanes, and the even and odd lanes are summed.
inline __m128i NegativeLuma4(__m128i low16, __m128i high16) {
  const __m128i factors = _mm_setr_epi16(401, 2064, 1053, 0, 401, 2064, 1053, 0);
  const __m128 partsLow = _mm_castsi128_ps(_mm_madd_epi16(low16, factors));
  const __m128 partsHigh = _mm_castsi128_ps(_mm_madd_epi16(high16, factors));
  const __m128i even = _mm_castps_si128(_mm_shuffle_ps(partsLow, partsHigh, _MM_SHUFFLE(2, 0, 2, 0)));
  const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(partsLow, partsHigh, _MM_SHUFFLE(3, 1, 3, 1)));
  const __m128i luma = _mm_srli_epi32(_mm_add_epi32(_mm_add_epi32(even, odd), _mm_set1_epi32(67584)), 12);
  return _mm_sub_epi32(_mm_set1_epi32(255), luma);
}

}  // namespace

void BurnRowSse2(const int32_t* map, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int32_t threshold,
                 const uint8_t* flame) {
  const __m128i belowA = _mm_set1_epi32(threshold - 1);           // value >= threshold shows A
  const __m128i bandStart = _mm_set1_epi32(threshold - kBurnBand);  // value below it shows B
  const __m128i zero = _mm_setzero_si128();
  int x = 0;
  // Four neighbours mostly agree: then one source is copied whole.
  for (; x + 4 <= pixels; x += 4) {
    const __m128i values = Load(map + x);
    const __m128i showsA = _mm_cmpgt_epi32(values, belowA), showsB = _mm_cmplt_epi32(values, bandStart);
    const int inA = _mm_movemask_ps(_mm_castsi128_ps(showsA)), inB = _mm_movemask_ps(_mm_castsi128_ps(showsB));
    const std::size_t at = std::size_t(x) * 4;
    if (inA == 15) {
      Store(out + at, Load(a + at));
    } else if (inB == 15) {
      Store(out + at, Load(b + at));
    } else {
      const __m128i va = Load(a + at), vb = Load(b + at);
      __m128i mixed = Select(showsA, va, vb);
      if ((inA | inB) != 15) {
        // Flame colours for the pixels in the band (any index serves the others), opaque where
        // A or B is.
        auto colour = [&](int lane) {
          const int64_t index = std::clamp<int64_t>(int64_t(map[x + lane]) - threshold + kBurnBand, 0, kBurnBand - 1);
          uint32_t pixel;
          std::memcpy(&pixel, flame + index * 4, 4);
          return int(pixel & 0x00FFFFFFu);
        };
        const __m128i alpha = _mm_set1_epi32(int(0xFF000000u));
        const __m128i seen = _mm_andnot_si128(_mm_cmpeq_epi32(_mm_and_si128(_mm_or_si128(va, vb), alpha), zero), alpha);
        const __m128i band = _mm_or_si128(_mm_setr_epi32(colour(0), colour(1), colour(2), colour(3)), seen);
        mixed = Select(_mm_or_si128(showsA, showsB), mixed, band);
      }
      Store(out + at, mixed);
    }
  }
  BurnRowScalar(map + x, a + std::size_t(x) * 4, b + std::size_t(x) * 4, out + std::size_t(x) * 4, pixels - x,
                threshold, flame);
}

void ThresholdRowSse2(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                      bool lumaKey) {
  const __m128i lowByte = _mm_set1_epi32(0xFF);
  const __m128i belowLimit = _mm_set1_epi32(limit - 1);  // brightness >= limit, as a signed greater-than
  int x = 0;
  for (; x + 4 <= pixels; x += 4, key += 16, a += 16, b += 16, out += 16) {
    const __m128i k = Load(key);
    __m128i brightness = _mm_and_si128(_mm_srli_epi32(k, 16), lowByte);
    if (!lumaKey) {
      brightness = _mm_add_epi32(brightness, _mm_and_si128(k, lowByte));
      brightness = _mm_add_epi32(brightness, _mm_and_si128(_mm_srli_epi32(k, 8), lowByte));
    }
    Store(out, Select(_mm_cmpgt_epi32(brightness, belowLimit), Load(a), Load(b)));
  }
  ThresholdRowScalar(key, a, b, out, pixels - x, limit, lumaKey);
}

void XRayNegativeRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  const __m128i zero = _mm_setzero_si128(), weights = _mm_set1_epi16(int16_t(weight));
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i v = Load(source);
    const __m128i low = _mm_unpacklo_epi8(v, zero), high = _mm_unpackhi_epi8(v, zero);
    const __m128i negative = NegativeLuma4(low, high);
    Store(out, _mm_packus_epi16(TowardTarget(low, SpreadLow(negative), weights),
                                TowardTarget(high, SpreadHigh(negative), weights)));
  }
  XRayNegativeRowScalar(source, out, pixels - x, weight);
}

void XRayToneRowSse2(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  const __m128i zero = _mm_setzero_si128(), alpha = _mm_set1_epi32(int(0xFF000000u));
  const __m128i shifts = _mm_set1_epi32(shift), white = _mm_set1_epi32(255);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i v = Load(source);
    const __m128i negative = NegativeLuma4(_mm_unpacklo_epi8(v, zero), _mm_unpackhi_epi8(v, zero));
    const __m128i u = _mm_add_epi32(shifts, _mm_slli_epi32(negative, 2));
    const __m128i capped = Select(_mm_cmpgt_epi32(u, white), white, u);
    const __m128i grey = Select(_mm_cmpgt_epi32(u, negative), capped, negative);
    const __m128i greys = _mm_or_si128(grey, _mm_or_si128(_mm_slli_epi32(grey, 8), _mm_slli_epi32(grey, 16)));
    Store(out, _mm_or_si128(greys, _mm_and_si128(v, alpha)));
  }
  XRayToneRowScalar(source, out, pixels - x, shift);
}

void XRayLumaRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* lumaTarget) {
  const __m128i zero = _mm_setzero_si128(), weights = _mm_set1_epi16(int16_t(weight));
  const __m128i lumaLanes = _mm_setr_epi16(0, 0, -1, 0, 0, 0, -1, 0);
  const __m128i neutralChroma = _mm_setr_epi16(128, 128, 0, 0, 128, 128, 0, 0);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i v = Load(source);
    const __m128i low = _mm_unpacklo_epi8(v, zero), high = _mm_unpackhi_epi8(v, zero);
    const __m128i lumas =
        _mm_setr_epi32(lumaTarget[source[2]], lumaTarget[source[6]], lumaTarget[source[10]], lumaTarget[source[14]]);
    const __m128i targetsLow = _mm_or_si128(_mm_and_si128(SpreadLow(lumas), lumaLanes), neutralChroma);
    const __m128i targetsHigh = _mm_or_si128(_mm_and_si128(SpreadHigh(lumas), lumaLanes), neutralChroma);
    Store(out, _mm_packus_epi16(TowardTarget(low, targetsLow, weights), TowardTarget(high, targetsHigh, weights)));
  }
  XRayLumaRowScalar(source, out, pixels - x, weight, lumaTarget);
}

void TowardColourRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour) {
  const __m128i zero = _mm_setzero_si128(), weights = _mm_set1_epi16(int16_t(weight));
  const __m128i targets = _mm_setr_epi16(colour[0], colour[1], colour[2], 0, colour[0], colour[1], colour[2], 0);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i v = Load(source);
    Store(out, _mm_packus_epi16(TowardTarget(_mm_unpacklo_epi8(v, zero), targets, weights),
                                TowardTarget(_mm_unpackhi_epi8(v, zero), targets, weights)));
  }
  TowardColourRowScalar(source, out, pixels - x, weight, colour);
}

void FallRowSse2(const uint8_t* source, int y, uint8_t* out, std::size_t rowBytes, int pixels, int height,
                 int64_t fall, int parity, bool lumaChroma) {
  // Pixels whose landing row is outside the frame or the field are written to a scratch chunk
  // instead, so that no branch depends on the picture.
  constexpr int kChunk = 256;
  uint8_t scratch[kChunk * 4];
  uint8_t* landing[6] = {};
  for (int m = 1; m <= 5; ++m) {
    const int64_t row = y + m * fall;
    const bool visited = row < height && (parity < 0 || (row & 1) == parity);
    landing[m] = visited ? out + std::size_t(row) * rowBytes : nullptr;
  }
  const __m128i lowByte = _mm_set1_epi32(0xFF);
  for (int x0 = 0; x0 < pixels; x0 += kChunk) {
    const int count = std::min(kChunk, pixels - x0);
    uint8_t* target[6];
    for (int m = 1; m <= 5; ++m) target[m] = landing[m] ? landing[m] + std::size_t(x0) * 4 : scratch;
    target[0] = target[1];  // a class of 0 falls like class 1
    const uint8_t* s = source + std::size_t(x0) * 4;
    int k = 0;
    for (; k + 4 <= count; k += 4) {
      const __m128i v = Load(s + k * 4);
      const __m128i luma = _mm_and_si128(_mm_srli_epi32(v, 16), lowByte);
      const __m128i tone =
          lumaChroma ? _mm_srli_epi32(_mm_add_epi32(luma, _mm_set1_epi32(31)), 6)
                     : _mm_srli_epi32(_mm_add_epi32(_mm_add_epi32(luma, _mm_and_si128(v, lowByte)),
                                                    _mm_and_si128(_mm_srli_epi32(v, 8), lowByte)),
                                      7);
      std::memcpy(target[_mm_cvtsi128_si32(tone)] + k * 4, s + k * 4, 4);
      std::memcpy(target[_mm_extract_epi16(tone, 2)] + k * 4 + 4, s + k * 4 + 4, 4);
      std::memcpy(target[_mm_extract_epi16(tone, 4)] + k * 4 + 8, s + k * 4 + 8, 4);
      std::memcpy(target[_mm_extract_epi16(tone, 6)] + k * 4 + 12, s + k * 4 + 12, 4);
    }
    for (; k < count; ++k) {
      const uint8_t* p = s + k * 4;
      std::memcpy(target[lumaChroma ? (p[2] + 31) >> 6 : (p[0] + p[1] + p[2]) >> 7] + k * 4, p, 4);
    }
  }
}

namespace {

inline int32_t PixelAt(const uint8_t* row, int column) {
  int32_t pixel;
  std::memcpy(&pixel, row + std::size_t(column) * 4, sizeof pixel);
  return pixel;
}

// a + ((b - a) * weight >> 7) on 16-bit lanes; |b - a| * 127 fits a lane.
inline __m128i Lerp16Sse2(__m128i a, __m128i b, __m128i weight) {
  return _mm_add_epi16(a, _mm_srai_epi16(_mm_mullo_epi16(_mm_sub_epi16(b, a), weight), 7));
}

}  // namespace

void SampledLerpRowSse2(const uint8_t* a, const int* columnsA, const uint8_t* b, const int* columnsB, uint8_t* out,
                        int pixels, int weight) {
  const __m128i zero = _mm_setzero_si128(), weights = _mm_set1_epi16(int16_t(weight));
  int x = 0;
  for (; x + 4 <= pixels; x += 4) {
    const __m128i va = _mm_setr_epi32(PixelAt(a, columnsA[x]), PixelAt(a, columnsA[x + 1]), PixelAt(a, columnsA[x + 2]),
                                      PixelAt(a, columnsA[x + 3]));
    const __m128i vb = _mm_setr_epi32(PixelAt(b, columnsB[x]), PixelAt(b, columnsB[x + 1]), PixelAt(b, columnsB[x + 2]),
                                      PixelAt(b, columnsB[x + 3]));
    const __m128i low = Lerp16Sse2(_mm_unpacklo_epi8(va, zero), _mm_unpacklo_epi8(vb, zero), weights);
    const __m128i high = Lerp16Sse2(_mm_unpackhi_epi8(va, zero), _mm_unpackhi_epi8(vb, zero), weights);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + std::size_t(x) * 4), _mm_packus_epi16(low, high));
  }
  SampledLerpRowScalar(a, columnsA + x, b, columnsB + x, out + std::size_t(x) * 4, pixels - x, weight);
}

void StreamPixelsSse2(const uint8_t* source, int from, uint8_t* out, int to, int pixels) {
  if (pixels <= 0) return;
  const uint8_t* s = source + std::size_t(from) * 4;
  uint8_t* d = out + std::size_t(to) * 4;
  const std::size_t bytes = std::size_t(pixels) * 4;
  // Every store is non-temporal, the single pixels at either end too: a cached store into a line
  // that is being streamed would flush it half written.
  const auto pixel = [&](std::size_t at) {
    int32_t value;
    std::memcpy(&value, s + at, sizeof value);
    _mm_stream_si32(reinterpret_cast<int*>(d + at), value);
  };
  std::size_t i = 0;
  for (; i < bytes && (reinterpret_cast<uintptr_t>(d + i) & 15) != 0; i += 4) pixel(i);
  for (; i + 64 <= bytes; i += 64) {
    const __m128i x0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    const __m128i x1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 16));
    const __m128i x2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 32));
    const __m128i x3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 48));
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), x0);
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 16), x1);
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 32), x2);
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 48), x3);
  }
  for (; i + 16 <= bytes; i += 16) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i)));
  }
  for (; i < bytes; i += 4) pixel(i);
}

void StreamFillSse2(uint8_t* out, int to, int pixels, const uint8_t pixel[4]) {
  int32_t value;
  std::memcpy(&value, pixel, sizeof value);
  uint8_t* d = out + std::size_t(to) * 4;
  const std::size_t bytes = pixels > 0 ? std::size_t(pixels) * 4 : 0;
  const __m128i four = _mm_set1_epi32(value);
  std::size_t i = 0;
  for (; i < bytes && (reinterpret_cast<uintptr_t>(d + i) & 15) != 0; i += 4) {
    _mm_stream_si32(reinterpret_cast<int*>(d + i), value);
  }
  for (; i + 16 <= bytes; i += 16) _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), four);
  for (; i < bytes; i += 4) _mm_stream_si32(reinterpret_cast<int*>(d + i), value);
}

void StreamFenceSse2() { _mm_sfence(); }

}  // namespace vek
