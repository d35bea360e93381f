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

// The address is computed as an integer: it may lie outside every object.
inline void PrefetchAhead(const uint8_t* at, std::ptrdiff_t ahead) {
  _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(at) + uintptr_t(ahead)), _MM_HINT_T0);
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

void WeightedRowSse2(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels,
                     std::ptrdiff_t ahead) {
  const __m128i zero = _mm_setzero_si128();
  int x = 0;
  for (; x + 4 <= pixels; x += 4, a += 16, b += 16, out += 16) {
    if (x % 16 == 0) {
      PrefetchAhead(a, ahead);
      PrefetchAhead(b, ahead);
    }
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

void SampledWeightedRow(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights, uint8_t* out,
                        int pixels, std::ptrdiff_t ahead) {
  constexpr int kChunk = 64;
  alignas(16) uint8_t sampledA[kChunk * 4], sampledB[kChunk * 4];
  for (int x = 0; x < pixels; x += kChunk) {
    const int count = std::min(kChunk, pixels - x);
    GatherPixels(a, columns + x, sampledA, count, ahead);
    GatherPixels(b, columns + x, sampledB, count, ahead);
    WeightedRowSse2(sampledA, sampledB, weights + x, out + std::size_t(x) * 4, count, 0);
  }
}

namespace {

inline __m128i Load(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
inline void Store(void* at, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(at), value); }
inline __m128i Select(__m128i mask, __m128i ifSet, __m128i ifClear) {
  return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, ifClear));
}

// The burn of `pixels` pixels of one span the front passes through.
void BurnSpanSse2(const int32_t* map, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels,
                  int32_t threshold, const uint8_t* flame) {
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
  const std::size_t at = std::size_t(x) * 4;
  BurnRowScalar(map + x, a + at, b + at, out + at, pixels - x, threshold, flame);
}

}  // namespace

void BurnRowSse2(const int32_t* map, const int32_t* spanBounds, const uint8_t* a, const uint8_t* b, uint8_t* out,
                 int pixels, int32_t threshold, const uint8_t* flame, CopyPixelsFn copy,
                 std::ptrdiff_t ahead) {
  const int64_t bandStart = int64_t(threshold) - kBurnBand;
  // Neighbouring spans that show the same source whole are copied as one run; a crossed span is
  // put together aside and copied like a run.
  uint8_t crossedSpan[kBurnSpan * 4];
  const uint8_t* runSource = nullptr;
  int runStart = 0;
  for (int x = 0; x < pixels; x += kBurnSpan, spanBounds += 2) {
    const uint8_t* whole = spanBounds[0] >= threshold ? a : spanBounds[1] < bandStart ? b : nullptr;
    if (runSource && whole != runSource) copy(runSource, runStart, out, runStart, x - runStart, ahead);
    if (whole) {
      if (whole != runSource) runStart = x;
      runSource = whole;
      continue;
    }
    runSource = nullptr;
    const int count = std::min(kBurnSpan, pixels - x);
    const std::size_t at = std::size_t(x) * 4;
    // The front moves little from one row to the next, so the next row crosses this span too, most
    // likely: its lines of the map and both sources are fetched while this row is drawn.
    const auto* mapBytes = reinterpret_cast<const uint8_t*>(map + x);
    for (std::size_t line = 0; line < std::size_t(count) * 4; line += 64) {
      PrefetchAhead(mapBytes + line, ahead);
      PrefetchAhead(a + at + line, ahead);
      PrefetchAhead(b + at + line, ahead);
    }
    BurnSpanSse2(map + x, a + at, b + at, crossedSpan, count, threshold, flame);
    copy(crossedSpan, 0, out, x, count, 0);
  }
  if (runSource) copy(runSource, runStart, out, runStart, pixels - runStart, ahead);
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

namespace {

// The X-ray kernels keep a pixel's bytes in two registers of 16-bit lanes: the even bytes (0 and 2)
// and the odd ones (1 and 3), one pixel to a 32-bit lane, so that a pixel's sums need no shuffling
// and its two halves go back together with one shift.
inline __m128i EvenBytes(__m128i pixels) { return _mm_and_si128(pixels, _mm_set1_epi16(0xFF)); }
inline __m128i OddBytes(__m128i pixels) { return _mm_srli_epi16(pixels, 8); }
inline __m128i Interleave(__m128i even, __m128i odd) { return _mm_or_si128(even, _mm_slli_epi16(odd, 8)); }

// 255 - Y of four ARGB pixels, one to a 32-bit lane. With the factors negated the sum is -(401 B +
// 1053 R + 2064 G), and 255 - ((s + 67584) >> 12) is (980991 - s) >> 12, never negative.
inline __m128i NegativeLuma4(__m128i even, __m128i odd) {
  const __m128i evenFactors = _mm_set1_epi32(int(uint32_t(-1053) << 16 | uint16_t(-401)));
  const __m128i oddFactors = _mm_set1_epi32(uint16_t(-2064));
  const __m128i sum = _mm_add_epi32(_mm_madd_epi16(even, evenFactors), _mm_madd_epi16(odd, oddFactors));
  return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(980991)), 12);
}

// The negative luma of eight ARGB pixels as 16-bit lanes.
inline __m128i NegativeLuma8(__m128i first, __m128i second) {
  return _mm_packs_epi32(NegativeLuma4(EvenBytes(first), OddBytes(first)),
                         NegativeLuma4(EvenBytes(second), OddBytes(second)));
}

// c + floor((target - c) * weight / 1024): mulhi of (target - c) * 64 and the weight (at most
// 1024) is exactly that floor, and neither factor overflows. A lane of weight 0 keeps c.
inline __m128i Toward(__m128i c, __m128i target, __m128i weights) {
  return _mm_add_epi16(c, _mm_mulhi_epi16(_mm_slli_epi16(_mm_sub_epi16(target, c), 6), weights));
}

// The tone of negative greys n: max(n, min(shift + 4n, 255)), which is min(shift + 4n, 255) where
// that is above n, else n. shift + 4n lies in -765..1275, within a 16-bit lane.
inline __m128i Tone(__m128i negative, __m128i shifts) {
  const __m128i raised = _mm_add_epi16(shifts, _mm_slli_epi16(negative, 2));
  return _mm_max_epi16(negative, _mm_min_epi16(raised, _mm_set1_epi16(255)));
}

}  // namespace

void XRayNegativeRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  // The odd lanes hold green and alpha, which keeps its byte through a weight of 0.
  const __m128i evenWeights = _mm_set1_epi16(int16_t(weight)), oddWeights = _mm_set1_epi32(weight);
  int x = 0;
  for (; x + 8 <= pixels; x += 8, source += 32, out += 32) {
    const __m128i first = Load(source), second = Load(source + 16);
    const __m128i negative = NegativeLuma8(first, second);
    const __m128i firstTargets = _mm_unpacklo_epi16(negative, negative);
    const __m128i secondTargets = _mm_unpackhi_epi16(negative, negative);
    Store(out, Interleave(Toward(EvenBytes(first), firstTargets, evenWeights),
                          Toward(OddBytes(first), firstTargets, oddWeights)));
    Store(out + 16, Interleave(Toward(EvenBytes(second), secondTargets, evenWeights),
                               Toward(OddBytes(second), secondTargets, oddWeights)));
  }
  XRayNegativeRowScalar(source, out, pixels - x, weight);
}

void XRayToneRowSse2(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  const __m128i shifts = _mm_set1_epi16(int16_t(shift)), alpha = _mm_set1_epi32(int(0xFF000000u));
  int x = 0;
  for (; x + 8 <= pixels; x += 8, source += 32, out += 32) {
    const __m128i first = Load(source), second = Load(source + 16);
    const __m128i grey = Tone(NegativeLuma8(first, second), shifts);
    // Bytes g g in each 16-bit lane, then g g g 0 in each pixel.
    const __m128i greyBytes = _mm_packus_epi16(grey, grey);
    const __m128i greyPairs = _mm_unpacklo_epi8(greyBytes, greyBytes);
    Store(out, _mm_or_si128(_mm_unpacklo_epi16(greyPairs, grey), _mm_and_si128(first, alpha)));
    Store(out + 16, _mm_or_si128(_mm_unpackhi_epi16(greyPairs, grey), _mm_and_si128(second, alpha)));
  }
  XRayToneRowScalar(source, out, pixels - x, shift);
}

namespace {

// The luma of greys given one to a 32-bit lane: (3518 g + 67584) >> 12.
inline __m128i GreyLuma4(__m128i greys) {
  return _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(greys, _mm_set1_epi32(3518)), _mm_set1_epi32(67584)), 12);
}

}  // namespace

void XRayLumaNegativeRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight) {
  // Even lanes hold V and Y, odd ones U and alpha, which a weight of 0 keeps.
  const __m128i evenWeights = _mm_set1_epi16(int16_t(weight)), oddWeights = _mm_set1_epi32(weight);
  const __m128i neutral = _mm_set1_epi16(128);
  // The grey luma of 255 - Y: (3518 (255 - Y) + 67584) >> 12 = (964674 - 3518 Y) >> 12.
  const __m128i lumaFactor = _mm_set1_epi32(int(uint32_t(-3518) << 16)), greyBase = _mm_set1_epi32(964674);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i pixels4 = Load(source);
    const __m128i even = EvenBytes(pixels4), odd = OddBytes(pixels4);
    const __m128i lumaTargets = _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(even, lumaFactor), greyBase), 12);
    const __m128i evenTargets = _mm_or_si128(_mm_slli_epi32(lumaTargets, 16), _mm_set1_epi32(128));
    Store(out, Interleave(Toward(even, evenTargets, evenWeights), Toward(odd, neutral, oddWeights)));
  }
  XRayLumaNegativeRowScalar(source, out, pixels - x, weight);
}

void XRayLumaToneRowSse2(const uint8_t* source, uint8_t* out, int pixels, int shift) {
  const __m128i shifts = _mm_set1_epi16(int16_t(shift)), lowByte = _mm_set1_epi32(0xFF);
  const __m128i white = _mm_set1_epi16(255), zero = _mm_setzero_si128();
  const __m128i alpha = _mm_set1_epi32(int(0xFF000000u)), neutral = _mm_set1_epi32(0x8080);
  int x = 0;
  for (; x + 8 <= pixels; x += 8, source += 32, out += 32) {
    const __m128i first = Load(source), second = Load(source + 16);
    const __m128i luma = _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(first, 16), lowByte),
                                         _mm_and_si128(_mm_srli_epi32(second, 16), lowByte));
    const __m128i grey = Tone(_mm_sub_epi16(white, luma), shifts);
    const __m128i firstLuma = GreyLuma4(_mm_unpacklo_epi16(grey, zero));
    const __m128i secondLuma = GreyLuma4(_mm_unpackhi_epi16(grey, zero));
    Store(out, _mm_or_si128(_mm_or_si128(_mm_slli_epi32(firstLuma, 16), neutral), _mm_and_si128(first, alpha)));
    Store(out + 16, _mm_or_si128(_mm_or_si128(_mm_slli_epi32(secondLuma, 16), neutral), _mm_and_si128(second, alpha)));
  }
  XRayLumaToneRowScalar(source, out, pixels - x, shift);
}

void TowardColourRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour) {
  const __m128i evenWeights = _mm_set1_epi16(int16_t(weight)), oddWeights = _mm_set1_epi32(weight);
  const __m128i evenTargets = _mm_set1_epi32(colour[2] << 16 | colour[0]), oddTargets = _mm_set1_epi32(colour[1]);
  int x = 0;
  for (; x + 4 <= pixels; x += 4, source += 16, out += 16) {
    const __m128i pixels4 = Load(source);
    Store(out, Interleave(Toward(EvenBytes(pixels4), evenTargets, evenWeights),
                          Toward(OddBytes(pixels4), oddTargets, oddWeights)));
  }
  TowardColourRowScalar(source, out, pixels - x, weight, colour);
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

void CopyPixels(const uint8_t* source, int from, uint8_t* out, int to, int pixels, std::ptrdiff_t ahead) {
  const uint8_t* s = source + std::size_t(from) * 4;
  uint8_t* d = out + std::size_t(to) * 4;
  const std::size_t bytes = pixels > 0 ? std::size_t(pixels) * 4 : 0;
  std::size_t i = 0;
  for (; i + 64 <= bytes; i += 64) {
    PrefetchAhead(s + i, ahead);
    const __m128i x0 = Load(s + i), x1 = Load(s + i + 16), x2 = Load(s + i + 32), x3 = Load(s + i + 48);
    Store(d + i, x0);
    Store(d + i + 16, x1);
    Store(d + i + 32, x2);
    Store(d + i + 48, x3);
  }
  for (; i + 16 <= bytes; i += 16) Store(d + i, Load(s + i));
  for (; i < bytes; i += 4) std::memcpy(d + i, s + i, 4);
}

void StreamPixelsSse2(const uint8_t* source, int from, uint8_t* out, int to, int pixels, std::ptrdiff_t ahead) {
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
    PrefetchAhead(s + i, ahead);
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
